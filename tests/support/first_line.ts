import type { ChildProcess } from "node:child_process";
import { createInterface } from "node:readline";

// The first line of a program's output that fits; rejects where the program ends before.
export async function firstLine(child: ChildProcess, pattern: RegExp): Promise<RegExpExecArray> {
  if (!child.stdout) throw new Error("no output");
  for await (const line of createInterface(child.stdout)) {
    const match = pattern.exec(line);
    if (match) return match;
  }
  throw new Error(`${child.spawnfile} has ended`);
}
