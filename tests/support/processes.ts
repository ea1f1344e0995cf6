import { readdirSync, readFileSync, readlinkSync } from "node:fs";

export interface ProcessFigures {
  residentBytes: number;
  cpuSeconds: number;
}

const pageBytes = 4096;
const ticksPerSecond = 100;

// What a file of /proc tells of a process; nothing of one that has ended.
function told(pid: number, file: string): string {
  try {
    return readFileSync(`/proc/${pid}/${file}`, "utf8");
  } catch {
    return "";
  }
}

function entries(pid: number, folder: string): string[] {
  try {
    return readdirSync(`/proc/${pid}/${folder}`);
  } catch {
    return [];
  }
}

function processesThat(condition: (pid: number) => boolean): number[] {
  return readdirSync("/proc").map(Number).filter(Number.isInteger).filter(condition);
}

const residentBytesOf = (pid: number) => pageBytes * Number(told(pid, "statm").split(" ")[1] ?? 0);

// Sums over the agent and the server of the run whose data folder is `data`.
export function figures(data: string): ProcessFigures {
  const sum = { residentBytes: 0, cpuSeconds: 0 };
  const ours = processesThat((pid) => {
    const command = told(pid, "cmdline").replaceAll("\\", "/");
    return /TsrSecurityService\.exe\0|main\.js\0/.test(command) && command.includes(data);
  });
  for (const pid of ours) {
    sum.residentBytes += residentBytesOf(pid);
    const fields = told(pid, "stat").split(") ")[1]?.split(" ") ?? [];
    sum.cpuSeconds += (Number(fields[11] ?? 0) + Number(fields[12] ?? 0)) / ticksPerSecond;
  }
  return sum;
}

// The server of the run whose data folder is `data`.
export function serverProcess(data: string): number {
  const [server = 0] = processesThat((pid) => {
    const [program = "", ...rest] = told(pid, "cmdline").split("\0");
    return /(^|\/)node$/.test(program) && rest.join(" ").includes(`--data ${data}/server`);
  });
  return server;
}

// What may be killed. A console goes with the programs in it, as Windows does it: under Wine they outlive it, and nobody would
// know that the session has ended.
const roles = {
  service: /TsrSecurityService\.exe\.xml/,
  integration: /TsrIntegrationService\.exe\.xml/,
  worker: /TsrLowPrivilegeWorker\.exe/,
  // The worker's two: who takes the rights away, and who has the shells.
  workerStarter: /TsrLowPrivilegeWorker\.exe(?!.*\/restricted)/,
  workerHost: /TsrLowPrivilegeWorker\.exe.*\/restricted/,
  shell: /WindowsPowerShell\\v1\.0\\powershell\.exe/i,
  console: /winpty-agent\.exe|\\(powershell|cmd)\.exe/i,
  testProgram: /system_test_program\.exe/,
};
export type Role = keyof typeof roles;

// The process ids of those that have that role on the machines of the run whose data folder is `data`. Only what is ours: the
// Wine prefix says so.
export function processesWithRole(data: string, role: Role): number[] {
  return pidsOf(data).filter((pid) => roles[role].test(told(pid, "cmdline")));
}

// TerminateProcess of these.
export function kill(pids: number[]): void {
  for (const pid of pids) {
    try {
      process.kill(pid, "SIGKILL");
    } catch {
      // It has ended by itself.
    }
  }
}

export interface Standing {
  processes: string[];
  threads: number;
  descriptors: number;
  residentBytes: number;
}

// What the machines hold now: their processes, and the threads, open descriptors and memory of the agent's own and of Wine's
// server (each Windows handle of an open object is one on the Unix side or in the server).
export function standing(data: string): Standing {
  const result: Standing = { processes: [], threads: 0, descriptors: 0, residentBytes: 0 };
  const pids = pidsOf(data);
  const known = new Set(pids.filter((pid) => nameOf(pid) === "wineserver64").flatMap(pipesOf));
  for (const pid of pids) {
    const name = nameOf(pid);
    if (name === "" || (name === "wine64" && isUnborn(pid, known))) continue;
    result.processes.push(name);
    if (!name.startsWith("Tsr") && !name.startsWith("wineserver")) continue;
    result.threads += entries(pid, "task").length;
    result.descriptors += entries(pid, "fd").length;
    result.residentBytes += residentBytesOf(pid);
  }
  result.processes.sort();
  return result;
}

const nameOf = (pid: number) => told(pid, "comm").trim();

// Each as often as the process has it open.
function pipesOf(pid: number): string[] {
  const targets = entries(pid, "fd").map((descriptor) => {
    try {
      return readlinkSync(`/proc/${pid}/fd/${descriptor}`);
    } catch {
      return ""; // Closed while we looked.
    }
  });
  return targets.filter((target) => target.startsWith("pipe:"));
}

// A program that was ended before Wine's server knew its process: for the machine it is not there, but it waits for ever for
// the server's answer, in a pipe of which it has both ends and the server none. `./run` ends those with the machine.
function isUnborn(pid: number, known: Set<string>): boolean {
  const own = pipesOf(pid);
  const both = own.filter((pipe, at) => own.indexOf(pipe) !== at);
  return both.length > 0 && !both.some((pipe) => known.has(pipe));
}

export function pidsOf(data: string): number[] {
  return processesThat((pid) => told(pid, "environ").includes(`WINEPREFIX=${data}/`));
}
