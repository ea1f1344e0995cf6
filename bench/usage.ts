import { readdirSync, readFileSync } from "node:fs";
import { pidsOf, serverProcess } from "../tests/support/processes.ts";

export interface Usage {
  cpuSeconds: number;
  wakeUps: number; // Of all threads, since their starts.
  threads: number;
  residentBytes: number;
  privateBytes: number;
}

// Each process of the agent, the server, the console and Wine, by name, with "2", "3", ... behind it where it runs several times.
export function standingOfEach(data: string): Map<string, Usage> {
  const all = new Map<string, Usage>();
  for (const pid of [serverProcess(data), ...pidsOf(data).sort((a, b) => a - b)]) {
    try {
      const usage = usageOf(pid);
      const name = nameOf(pid);
      let unique = name;
      for (let number = 2; all.has(unique); number++) unique = `${name} ${number}`;
      all.set(unique, usage);
    } catch {
      // The process ended while we looked.
    }
  }
  return all;
}

function nameOf(pid: number): string {
  const [program = "", ...rest] = readFileSync(`/proc/${pid}/cmdline`, "utf8").split("\0");
  const config = /([A-Za-z]+)\.exe\.xml/.exec(rest.join(" "))?.[1];
  const name = config ?? program.split(/[\\/]/).at(-1) ?? "";
  if (rest.includes("/restricted")) return `${name}, restricted`;
  return name === "node" ? "management server" : name;
}

function usageOf(pid: number): Usage {
  const usage: Usage = { cpuSeconds: 0, wakeUps: 0, threads: 0, residentBytes: 0, privateBytes: 0 };
  for (const task of readdirSync(`/proc/${pid}/task`)) {
    const folder = `/proc/${pid}/task/${task}`;
    usage.cpuSeconds += Number(readFileSync(`${folder}/schedstat`, "utf8").split(" ")[0]) / 1e9;
    const status = readFileSync(`${folder}/status`, "utf8");
    usage.wakeUps += Number(/^voluntary_ctxt_switches:\s+(\d+)/m.exec(status)?.[1]);
    usage.threads++;
  }
  const memory = readFileSync(`/proc/${pid}/smaps_rollup`, "utf8");
  const kib = (name: string) => Number(new RegExp(`^${name}:\\s+(\\d+)`, "m").exec(memory)?.[1]);
  usage.residentBytes = 1024 * kib("Rss");
  usage.privateBytes = 1024 * (kib("Private_Dirty") + kib("Private_Clean"));
  return usage;
}
