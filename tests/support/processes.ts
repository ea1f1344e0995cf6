import { readdirSync, readFileSync, readlinkSync } from "node:fs";

export interface ProcessFigures {
  residentBytes: number;
  cpuSeconds: number;
}

const pageBytes = 4096;
const ticksPerSecond = 100;

// Sums over the agent and the server of the run whose data folder is `data`.
export function figures(data: string): ProcessFigures {
  const sum = { residentBytes: 0, cpuSeconds: 0 };
  for (const pid of readdirSync("/proc").filter((name) => /^\d+$/.test(name))) {
    try {
      const command = readFileSync(`/proc/${pid}/cmdline`, "utf8").replaceAll("\\", "/");
      if (!/TsrSecurityService\.exe\0|main\.js\0/.test(command) || !command.includes(data))
        continue;
      sum.residentBytes +=
        pageBytes * Number(readFileSync(`/proc/${pid}/statm`, "utf8").split(" ")[1]);
      const fields = readFileSync(`/proc/${pid}/stat`, "utf8").split(") ")[1]?.split(" ") ?? [];
      sum.cpuSeconds += (Number(fields[11]) + Number(fields[12])) / ticksPerSecond;
    } catch {
      // The process ended while we looked.
    }
  }
  return sum;
}

// The server of the run whose data folder is `data`.
export function serverProcess(data: string): number {
  const pid = readdirSync("/proc").find((name) => {
    if (!/^\d+$/.test(name)) return false;
    try {
      const [program, ...rest] = readFileSync(`/proc/${name}/cmdline`, "utf8").split("\0");
      return /(^|\/)node$/.test(program ?? "") && rest.join(" ").includes(`--data ${data}/server`);
    } catch {
      return false;
    }
  });
  return Number(pid ?? 0);
}

// What runs on the machines and beside them, of the run whose data folder is `data`.
export function processesOf(data: string): string[] {
  return standing(data).processes;
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
};
export type Role = keyof typeof roles;

// The process ids of those that have that role on the machines of the run whose data folder is `data`. Only what is ours: the
// Wine prefix says so.
export function processesWithRole(data: string, role: Role): number[] {
  return pidsOf(data).filter((pid) => {
    try {
      return roles[role].test(readFileSync(`/proc/${pid}/cmdline`, "utf8"));
    } catch {
      return false;
    }
  });
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
  const known = new Set(pids.flatMap(pipesOfServer));
  for (const pid of pids) {
    try {
      const name = commandOf(pid);
      if (name === "wine64" && isUnborn(pid, known)) continue;
      result.processes.push(name);
      if (!name.startsWith("Tsr") && name !== "wineserver") continue;
      result.threads += readdirSync(`/proc/${pid}/task`).length;
      result.descriptors += readdirSync(`/proc/${pid}/fd`).length;
      result.residentBytes +=
        pageBytes * Number(readFileSync(`/proc/${pid}/statm`, "utf8").split(" ")[1]);
    } catch {
      // The process ended while we looked.
    }
  }
  result.processes.sort();
  return result;
}

export const commandOf = (pid: number) => readFileSync(`/proc/${pid}/comm`, "utf8").trim();

// Each as often as the process has it open.
function pipesOf(pid: number): string[] {
  const folder = `/proc/${pid}/fd`;
  return readdirSync(folder)
    .map((descriptor) => readlinkSync(`${folder}/${descriptor}`))
    .filter((target) => target.startsWith("pipe:"));
}

// Of Wine's server; none of another process.
function pipesOfServer(pid: number): string[] {
  try {
    return commandOf(pid) === "wineserver64" ? pipesOf(pid) : [];
  } catch {
    return [];
  }
}

// A program that was ended before Wine's server knew its process: for the machine it is not there, but it waits for ever for
// the server's answer, in a pipe of which it has both ends and the server none. `./run` ends those with the machine.
function isUnborn(pid: number, known: Set<string>): boolean {
  const own = pipesOf(pid);
  const both = own.filter((pipe, at) => own.indexOf(pipe) !== at);
  return both.length > 0 && !both.some((pipe) => known.has(pipe));
}

export function pidsOf(data: string): number[] {
  return readdirSync("/proc")
    .filter((name) => /^\d+$/.test(name))
    .filter((pid) => {
      try {
        return readFileSync(`/proc/${pid}/environ`, "utf8").includes(`WINEPREFIX=${data}/`);
      } catch {
        return false;
      }
    })
    .map(Number);
}
