// A program's output into the file of a process run, beside a bare copy from the pipe, in turns.

import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { median, rounds, row, run, windowsPath } from "./support.ts";

const megabytes = 64;
const bytes = megabytes * 2 ** 20;
const lines = bytes / 64;

const folder = mkdtempSync(join(tmpdir(), "remote-access-bench-"));
try {
  const speeds = { raw: [] as number[], run: [] as number[] };
  for (let round = 0; round < rounds; round++) {
    for (const what of ["raw", "run"] as const) {
      const written = await run<{ bytes: number; seconds: number }>(
        "process_output.exe",
        what,
        String(megabytes),
        windowsPath(folder),
      );
      // A run's file is text: each line has one more character there.
      const expected = what === "raw" ? bytes : bytes + lines;
      if (written.bytes !== expected) throw new Error(`${what} wrote ${written.bytes} bytes`);
      speeds[what].push(bytes / written.seconds / 1e6);
    }
  }
  row("process output to a file, MB/s, median", median(speeds.raw), median(speeds.run));
} finally {
  rmSync(folder, { recursive: true, force: true });
}
