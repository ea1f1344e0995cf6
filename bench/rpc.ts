// A call to another process by the module's own remote calls, beside a raw pipe and the system's own local calls, in turns.

import { median, rounds, run } from "./support.ts";

const seconds = 1; // of each turn
const sizes = [
  { name: "100 B", bytes: 100 },
  { name: "4 KiB", bytes: 4096 },
  { name: "1 MiB", bytes: 2 ** 20 },
];
const kinds = ["raw", "system", "ours"] as const;

interface Turn {
  calls: number;
  seconds: number;
  median: number; // Microseconds, as p99.
  p99: number;
}

function line(first: string, cells: string[]): string {
  return first.padEnd(24) + cells.map((cell) => cell.padStart(10)).join("");
}

console.log(line("echo", ["", "calls/s", "p50, us", "p99, us"]));
for (const callers of [1, 16]) {
  for (const { name, bytes } of sizes) {
    const turns = { raw: [] as Turn[], system: [] as Turn[], ours: [] as Turn[] };
    for (let round = 0; round < rounds; round++) {
      for (const kind of kinds) {
        const args = [kind, bytes, callers, seconds].map(String);
        turns[kind].push(await run<Turn>("rpc_speed.exe", ...args));
      }
    }
    const speed = (kind: (typeof kinds)[number]) =>
      median(turns[kind].map((turn) => turn.calls / turn.seconds));
    for (const kind of kinds) {
      const figures = [
        speed(kind),
        median(turns[kind].map((turn) => turn.median)),
        median(turns[kind].map((turn) => turn.p99)),
      ];
      const cells = [kind, ...figures.map((figure) => figure.toFixed(0))];
      console.log(line(`${name}, callers: ${callers}`, cells));
    }
    const ratio = (to: "raw" | "system") => (speed("ours") / speed(to)).toFixed(2);
    console.log(line("", ["ratio", `raw ${ratio("raw")}`, `system ${ratio("system")}`]));
  }
}
