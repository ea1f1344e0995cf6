// The machine's history with 100,000 records: verified as a whole, and opened as a window does, beside a plain scan of the table
// with SHA-256, in turns.

import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { median, rounds, row, run, windowsPath } from "./support.ts";

const records = 100_000;
const folder = mkdtempSync(join(tmpdir(), "remote-access-bench-"));
const file = windowsPath(join(folder, "history.db"));
try {
  await run("history_speed.exe", "fill", file, String(records));
  for (const what of ["verify", "open"]) {
    const times = { raw: [] as number[], ours: [] as number[] };
    for (let round = 0; round < rounds; round++) {
      for (const way of ["raw", "ours"] as const) {
        const { seconds } = await run<{ seconds: number }>("history_speed.exe", what, way, file);
        times[way].push(seconds * 1000);
      }
    }
    row(`${what} ${records} records, ms, median`, median(times.raw), median(times.ours));
  }
} finally {
  rmSync(folder, { recursive: true, force: true });
}
