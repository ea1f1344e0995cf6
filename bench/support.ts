// What the benchmarks share: their arguments, programs under Wine, figures and the rows they print.

import { execFile, spawn } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { promisify } from "node:util";

// Where the programs are, and a Wine prefix for the benchmarks' own.
export const [bin, prefix] = process.argv.slice(2) as [string, string];
const environment = { ...process.env, WINEPREFIX: prefix, WINEDEBUG: "-all" };

// How often each thing is measured.
export const rounds = Number(process.env.ROUNDS ?? 5);

export const milliseconds = () => Number(process.hrtime.bigint()) / 1e6;

export function quantile(values: number[], share: number): number {
  const sorted = values.toSorted((a, b) => a - b);
  return sorted[Math.min(sorted.length - 1, Math.floor(share * sorted.length))] ?? Number.NaN;
}

export const median = (values: number[]) => quantile(values, 0.5);

// `peer` is what ours is held against: the raw limit, or another program.
export function row(name: string, peer: number, ours: number, peerName = "raw"): void {
  const [a, b] = [peer, ours].map((value) => value.toFixed(1).padStart(8)) as [string, string];
  console.log(
    `${name.padEnd(42)} ${peerName.padEnd(5)} ${a}   ours ${b}   ratio ${(ours / peer).toFixed(2)}`,
  );
}

export function rowOfOurs(name: string, ours: number): void {
  console.log(`${name.padEnd(57)}   ours ${ours.toFixed(0).padStart(8)}`);
}

export function windowsPath(path: string): string {
  return `Z:${path.replaceAll("/", "\\")}`;
}

// Runs one of our programs and gives what it printed, which is JSON.
export async function run<Printed>(program: string, ...args: string[]): Promise<Printed> {
  const { stdout } = await promisify(execFile)("wine", [join(bin, program), ...args], {
    env: environment,
  });
  return JSON.parse(stdout) as Printed;
}

export interface Cost {
  seconds: number;
  peakBytes: number; // of resident memory
}

// Runs a program, one of ours unless its path is given, and gives what it cost.
export async function measure(program: string, ...args: string[]): Promise<Cost> {
  const start = milliseconds();
  const path = program.startsWith("/") ? program : join(bin, program);
  const child = spawn("wine", [path, ...args], { env: environment, stdio: "ignore" });
  let peakBytes = 0;
  const look = () => {
    try {
      const status = readFileSync(`/proc/${child.pid}/status`, "utf8");
      peakBytes = Math.max(peakBytes, 1024 * Number(/VmHWM:\s+(\d+)/.exec(status)?.[1] ?? 0));
    } catch {
      // It has ended.
    }
  };
  const timer = setInterval(look, 20);
  const code = await new Promise<number | null>((done) => child.once("close", done));
  clearInterval(timer);
  if (code !== 0) throw new Error(`${program} ended with ${code}`);
  return { seconds: (milliseconds() - start) / 1000, peakBytes };
}
