// A file between the agent's storage and a server on this machine, beside a bare WinHTTP loop, in turns, down and up.

import { mkdtempSync, rmSync, statSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";
import type { AddressInfo } from "node:net";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { median, rounds, row, run, windowsPath } from "./support.ts";

const bytes = 256 * 2 ** 20;
const content = Buffer.alloc(bytes, "0123456789abcdef\n");

// Gives the content to every GET, and counts and forgets what is posted.
let posted = 0;
const server = createServer((request, response) => {
  if (request.method === "GET") {
    response.writeHead(200, { "Content-Length": bytes, ETag: '"file"' }).end(content);
    return;
  }
  posted = 0;
  request.on("data", (data: Buffer) => {
    posted += data.length;
  });
  request.on("end", () => response.writeHead(201, { "Content-Length": 0 }).end());
});

const folder = mkdtempSync(join(tmpdir(), "remote-access-bench-"));
const file = join(folder, "file");
try {
  await new Promise<void>((ready) => server.listen(0, "127.0.0.1", ready));
  const { port } = server.address() as AddressInfo;
  for (const direction of ["down", "up"]) {
    const speeds = { raw: [] as number[], storage: [] as number[] };
    for (let round = 0; round < rounds; round++) {
      for (const way of ["raw", "storage"] as const) {
        if (direction === "up") writeFileSync(file, content);
        const where = [String(port), windowsPath(folder)];
        const { seconds } = await run<{ seconds: number }>(
          "transfer.exe",
          way,
          direction,
          ...where,
        );
        const arrived = direction === "down" ? statSync(file).size : posted;
        if (arrived < bytes) throw new Error(`${way} ${direction}: ${arrived} bytes arrived`);
        speeds[way].push(bytes / seconds / 1e6);
        rmSync(file);
      }
    }
    row(`transfer ${direction}, MB/s, median`, median(speeds.raw), median(speeds.storage));
  }
} finally {
  server.close();
  rmSync(folder, { recursive: true, force: true });
}
