// What every process of the deployed system costs in a minute in which nothing happens: processor time, how often its threads
// wake up, and memory.

import { type ChildProcess, spawn } from "node:child_process";
import { existsSync } from "node:fs";
import { join } from "node:path";
import { Stack } from "../tests/support/stack.ts";
import { bin, windowsPath } from "./support.ts";
import { standingOfEach, type Usage } from "./usage.ts";

const settleMs = 20_000; // Until what the start has left to do is done.
const minuteMs = Number(process.env.IDLE_MS ?? 60_000);

// In the tray, as at the sign-in of whoever sits at the machine.
function startConsole(stack: Stack): ChildProcess | undefined {
  const config = join(stack.data, "machine-1", "TsrConsole.exe.xml");
  const program = join(bin, "TsrConsole.exe");
  if (!existsSync(program) || !existsSync(config)) return undefined;
  const env = {
    ...process.env,
    WINEPREFIX: join(stack.data, "machine-1", "prefix"),
    WINEDEBUG: "-all",
  };
  return spawn("wine", [program, "/tray", "/config", windowsPath(config)], {
    env,
    stdio: "ignore",
  });
}

function print(name: string, before: Usage, after: Usage): void {
  const seconds = minuteMs / 1000;
  const columns = [
    (after.cpuSeconds - before.cpuSeconds) * 1000,
    (after.wakeUps - before.wakeUps) / seconds,
    after.residentBytes / 1024 / 1024,
    after.privateBytes / 1024 / 1024,
  ].map((value) => value.toFixed(1).padStart(10));
  console.log(`${name.padEnd(24)}${columns.join("")}${String(after.threads).padStart(10)}`);
}

const pause = (ms: number) => new Promise((next) => setTimeout(next, ms));

const stack = await Stack.start();
const personsConsole = startConsole(stack);
try {
  await pause(settleMs);
  const before = standingOfEach(stack.data);
  await pause(minuteMs);
  const after = standingOfEach(stack.data);
  const titles = ["cpu ms", "wakes/s", "MB", "private MB", "threads"];
  console.log("process".padEnd(24) + titles.map((title) => title.padStart(10)).join(""));
  for (const [name, usage] of after) print(name, before.get(name) ?? usage, usage);
  if (personsConsole === undefined) console.log("TsrConsole.exe is not there and was left out.");
} finally {
  personsConsole?.kill("SIGKILL");
  await stack.stop();
}
