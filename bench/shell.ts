// The shell through the whole system beside the raw console, in turns in one run:
// output speed, and the time from a key press to its echo.

import { mkdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { figures } from "../tests/support/processes.ts";
import type { Shell } from "../tests/support/shell.ts";
import { Stack } from "../tests/support/stack.ts";
import {
  median,
  milliseconds,
  quantile,
  rounds,
  row,
  rowOfOurs,
  run,
  windowsPath,
} from "./support.ts";

const keys = 60;

async function flood(stack: Stack, file: string): Promise<number> {
  const shell = await stack.api.shell();
  await shell.echo("console-ready");
  shell.bytes = 0;
  const from = shell.output.length;
  const start = milliseconds();
  shell.type(`type "${file}" & echo flood^-end\r`);
  await shell.see("flood-end", from);
  const speed = shell.bytes / (milliseconds() - start);
  await shell.close();
  return speed;
}

async function echo(stack: Stack): Promise<number[]> {
  const shell = await stack.api.shell();
  await shell.echo("console-ready");
  const times: number[] = [];
  for (let pressed = 0; pressed < keys; pressed++) {
    await new Promise((next) => setTimeout(next, 100)); // a person's pace
    const before = shell.bytes;
    const start = milliseconds();
    shell.type("x");
    await shell.until(() => shell.bytes > before);
    times.push(milliseconds() - start);
  }
  await shell.close();
  return times;
}

// What one more open session costs the agent and the server together, in KiB.
async function memoryPerSession(stack: Stack): Promise<number> {
  const open = async (count: number) => {
    const shells: Shell[] = [];
    for (let number = 0; number < count; number++) {
      const shell = await stack.api.shell();
      await shell.echo("console-ready");
      shells.push(shell);
    }
    return shells;
  };
  const warm = await open(2);
  const before = figures(stack.data).residentBytes;
  const more = await open(8);
  const grown = figures(stack.data).residentBytes - before;
  await Promise.all([...warm, ...more].map((shell) => shell.close()));
  return grown / 8 / 1024;
}

// Processor time of the agent and the server while nothing happens, in milliseconds per minute.
async function idleTime(stack: Stack): Promise<number> {
  const before = figures(stack.data).cpuSeconds;
  await new Promise((next) => setTimeout(next, 60_000));
  return (figures(stack.data).cpuSeconds - before) * 1000;
}

const stack = await Stack.start();
try {
  const path = join(stack.data, "five-megabytes.txt");
  mkdirSync(stack.data, { recursive: true });
  writeFileSync(path, `${"0123456789".repeat(7)}\r\n`.repeat(72_000));
  const file = windowsPath(path);

  const speeds = { raw: [] as number[], ours: [] as number[] };
  const times = { raw: [] as number[], ours: [] as number[] };
  for (let round = 0; round < rounds; round++) {
    const { bytes, seconds } = await run<{ bytes: number; seconds: number }>(
      "raw_console.exe",
      "flood",
      file,
    );
    speeds.raw.push(bytes / seconds / 1000);
    speeds.ours.push(await flood(stack, file));
    times.raw.push(...(await run<number[]>("raw_console.exe", "echo", String(keys))));
    times.ours.push(...(await echo(stack)));
  }

  row("output, kB/s, median", median(speeds.raw), median(speeds.ours));
  row("key press to echo, ms, median", median(times.raw), median(times.ours));
  row("key press to echo, ms, 95th pct", quantile(times.raw, 0.95), quantile(times.ours, 0.95));
  rowOfOurs("memory of one more session, KiB", await memoryPerSession(stack));
  rowOfOurs("idle, processor ms in a minute", await idleTime(stack));
} finally {
  await stack.stop();
}
