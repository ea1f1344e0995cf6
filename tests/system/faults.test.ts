import { randomInt } from "node:crypto";
import { setTimeout as pause } from "node:timers/promises";
import { afterAll, beforeAll, expect, test } from "vitest";
import { kill, processesWithRole, type Role, standing } from "../support/processes.ts";
import { Remote } from "../support/remote.ts";
import { Stack } from "../support/stack.ts";
import { Workload } from "../support/workload.ts";

// ./dev stress sets a longer time.
const minutes = Number(process.env.STRESS_MINUTES ?? 0.5);
const settleMs = 300_000;

let stack: Stack;
beforeAll(async () => {
  stack = await Stack.start();
});
afterAll(() => stack.stop());

const killed: string[] = [];

// TerminateProcess of one of them; of a console, with the programs in it.
function killOne(role: Role): void {
  const pids = processesWithRole(stack.data, role);
  const one = pids[randomInt(Math.max(pids.length, 1))];
  const chosen = role === "console" || one === undefined ? pids : [one];
  kill(chosen);
  killed.push(...chosen.map((pid) => `${role} ${pid}`));
}

// Nothing is under way, and all that belongs to a machine is there. Wine starts its desktop when it likes.
const kinds: Role[] = ["service", "integration", "worker", "shell", "console"];
const present = () => ({
  roles: kinds.map((role) => processesWithRole(stack.data, role).length),
  hosts: standing(stack.data).processes.filter((name) => name === "conhost.exe").length,
});
const whole = { roles: [1, 1, 2, 0, 0], hosts: 3 };

async function settled(): Promise<void> {
  const options = { timeout: settleMs, interval: 500 };
  await expect.poll(present, options).toEqual(whole);
  const { api } = stack;
  await expect.poll(() => api.machine(), options).toMatchObject({ connected: true, sessions: 0 });
  const remote = await Remote.open(api, stack.data);
  const answer = () => remote.policy("GetEnabled").catch(() => ({}));
  await expect.poll(answer, options).toMatchObject({ status: 0 });
  remote.close();
}

test("processes die at any time, and nothing hangs, is left over or has grown", {
  timeout: minutes * 60_000 + 1_800_000,
}, async () => {
  const remote = await Remote.open(stack.api, stack.data);

  const warmUp = await Workload.start(remote);
  for (const role of kinds) {
    await pause(2_000);
    killOne(role);
  }
  await warmUp.stop();
  await settled();
  const before = standing(stack.data);

  const load = await Workload.start(remote);
  for (const end = Date.now() + minutes * 60_000; Date.now() < end; ) {
    await pause(1_000 + randomInt(4_000));
    killOne(kinds[randomInt(kinds.length)] ?? "console");
  }
  await load.stop();
  console.log("killed:", killed.join(", "), "\noutcomes:", load.outcomes);
  await settled();
  expect(await load.pending()).toEqual([]);
  const after = standing(stack.data);
  console.log("before:", before, "\nafter:", after);
  expect(after.threads).toBeLessThanOrEqual(before.threads + 12);
  expect(after.descriptors).toBeLessThanOrEqual(before.descriptors + 40);
  expect(after.residentBytes).toBeLessThanOrEqual(before.residentBytes * 1.2);
  remote.close();

  expect(await stack.stop({ keep: true })).toBe(0);
  expect(standing(stack.data).processes).toEqual([]);
  expect(remote.temporary()).toEqual([]);
});
