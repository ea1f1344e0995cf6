import { readdirSync, readFileSync } from "node:fs";
import { expect, inject, test } from "vitest";
import { sharedApi } from "../support/shared_api.ts";

const api = sharedApi();

interface Standing {
  processes: string[];
  threads: number;
  descriptors: number;
  temporary: number;
}

// What this stack's machine holds now: its processes, and the service's threads and open descriptors
// (each Windows handle of an open object is one on the Unix side or in its server).
function standing(): Standing {
  const result: Standing = { processes: [], threads: 0, descriptors: 0, temporary: 0 };
  for (const pid of readdirSync("/proc").filter((name) => /^\d+$/.test(name))) {
    try {
      const environment = readFileSync(`/proc/${pid}/environ`, "utf8");
      if (!environment.includes(`WINEPREFIX=${inject("data")}`)) continue;
      const name = readFileSync(`/proc/${pid}/comm`, "utf8").trim();
      result.processes.push(name);
      if (name.startsWith("TsrSecurity") || name === "wineserver") {
        result.threads += readdirSync(`/proc/${pid}/task`).length;
        result.descriptors += readdirSync(`/proc/${pid}/fd`).length;
      }
    } catch {
      // The process ended while we looked.
    }
  }
  result.processes.sort();
  return result;
}

async function useShells(count: number): Promise<void> {
  for (let done = 0; done < count; done++) {
    const shell = await api.shell();
    // Every fourth ends while its shell is still printing the first lines.
    if (done % 4 !== 3) await shell.echo(`session-${done}`);
    if (done % 4 === 0) {
      shell.type("exit\r");
      await shell.closed;
    } else if (done % 4 === 1) {
      shell.socket.terminate();
    } else {
      await shell.close();
    }
    await api.machineThat((machine) => machine.sessions === 0);
  }
}

test("a hundred sessions leave no process, thread or descriptor behind", async () => {
  await useShells(5);
  // The last console may still be on its way out.
  await expect
    .poll(() => standing().processes, { timeout: 60_000 })
    .not.toContain("winpty-agent.ex");
  const before = standing();
  await useShells(100);
  await expect.poll(() => standing().processes, { timeout: 60_000 }).toEqual(before.processes);
  const after = standing();
  expect(after.threads).toBeLessThanOrEqual(before.threads + 2);
  expect(after.descriptors).toBeLessThanOrEqual(before.descriptors + 4);
});
