import { readdirSync, readFileSync } from "node:fs";

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
  return readdirSync("/proc").flatMap((pid) => {
    if (!/^\d+$/.test(pid)) return [];
    try {
      const ours = readFileSync(`/proc/${pid}/environ`, "utf8").includes(`WINEPREFIX=${data}/`);
      return ours ? [readFileSync(`/proc/${pid}/comm`, "utf8").trim()] : [];
    } catch {
      return [];
    }
  });
}
