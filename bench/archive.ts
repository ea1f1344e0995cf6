// Packing a folder with the agent's compressor, beside 7-Zip's command line under the same Wine, in turns: speed and peak
// memory, without and with a password.

import { mkdirSync, mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

import { writeCorpus } from "./corpus.ts";
import { type Cost, measure, median, rounds, row, windowsPath } from "./support.ts";

// Benchmarks are run from the root of the repository.
const path7za = join(process.cwd(), "node_modules/7zip-bin/win/x64/7za.exe");
const work = mkdtempSync(join(tmpdir(), "remote-access-bench-"));
const folder = join(work, "corpus");
const archive = join(work, "archive.zip");
const options = ["-bso0", "-bsp0", "-tzip", "-mm=Deflate", "-mx=5"];

function pack(who: "peer" | "ours", password?: string): Promise<Cost> {
  rmSync(archive, { force: true });
  const [to, from] = [windowsPath(archive), windowsPath(folder)];
  if (who === "ours") {
    return measure("archive_speed.exe", to, from, ...(password ? [password] : []));
  }
  const encryption = password ? ["-mem=AES256", `-p${password}`] : [];
  return measure(path7za, "a", ...options, ...encryption, to, `${from}\\*`);
}

try {
  mkdirSync(folder);
  const bytes = writeCorpus(folder);
  for (const password of [undefined, "four words of nonsense"]) {
    const costs = { peer: [] as Cost[], ours: [] as Cost[] };
    for (let round = 0; round < rounds; round++) {
      costs.peer.push(await pack("peer", password));
      costs.ours.push(await pack("ours", password));
    }
    // What was measured is an archive that the peer finds whole.
    await measure(path7za, "t", "-bso0", `-p${password ?? ""}`, windowsPath(archive));
    const speed = (of: Cost[]) => bytes / median(of.map((cost) => cost.seconds)) / 1e6;
    const memory = (of: Cost[]) => median(of.map((cost) => cost.peakBytes)) / 1e6;
    const how = password ? "archive with AES-256" : "archive";
    row(`${how}, MB/s, median`, speed(costs.peer), speed(costs.ours), "7-Zip");
    row(`${how}, peak memory, MB`, memory(costs.peer), memory(costs.ours), "7-Zip");
  }
} finally {
  rmSync(work, { recursive: true, force: true });
}
