import { randomFillSync, randomInt, randomUUID } from "node:crypto";
import { setTimeout as pause } from "node:timers/promises";
import { afterAll, beforeAll, expect, test } from "vitest";
import { EventFeed, type MachineEvent } from "../support/event_feed.ts";
import { kill, processesWithRole, type Role, standing } from "../support/processes.ts";
import { Remote, testProgram } from "../support/remote.ts";
import type { Shell } from "../support/shell.ts";
import { Stack } from "../support/stack.ts";

// A stack of its own: its processes die.
let stack: Stack;
let remote: Remote;
beforeAll(async () => {
  stack = await Stack.start();
  remote = await Remote.open(stack.api, stack.data);
  await remote.store("recovery.bin", randomFillSync(Buffer.alloc(48 * 1024 * 1024)));
  remote.write("recovery/source.bin", randomFillSync(Buffer.alloc(24 * 1024 * 1024)));
  await worksIn(await stack.api.shell());
});
afterAll(async () => {
  remote.close();
  expect(await stack.stop()).toBe(0);
});

const killRole = (role: Role) => kill(processesWithRole(stack.data, role));

async function worksIn(shell: Shell): Promise<void> {
  expect(shell.code).toBe(0);
  await shell.echo(randomUUID());
  expect(await shell.close()).toEqual({ code: 1000, reason: "closed" });
}

// No session and no process of work is left, and all of the agent's own are there.
async function settled(): Promise<void> {
  await stack.api.machineThat((machine) => machine.connected && machine.sessions === 0);
  const processes = () =>
    standing(stack.data).processes.filter((name) => /^(Tsr|winpty|powersh|cmd|system_)/.test(name));
  await expect
    .poll(processes, { timeout: 60_000, interval: 200 })
    .toEqual(["TsrLowPrivilege", "TsrLowPrivilege", "TsrSecurityServ", "TsrSecurityServ"]);
}

const hostLost = { code: 1000, reason: "hostLost" };

test.each<Role>(["worker", "workerStarter", "workerHost"])(
  "with the %s the shells end and say why, and the next one opens",
  async (role) => {
    const [flooding, quiet] = [await stack.api.shell(), await stack.api.shell()];
    await quiet.echo("before");
    flooding.type("for /L %i in (1,0,2) do @echo flooding flooding flooding flooding\r");
    await flooding.until(() => flooding.bytes > 100_000);

    killRole(role);
    expect(await quiet.closed).toEqual(hostLost);
    expect(await flooding.closed).toEqual(hostLost);
    const next = await stack.api.shell();
    await worksIn(next);
    await settled();
  },
);

test("a worker that dies again and again ends no open but the one that has its answer", async () => {
  for (let death = 0; death < 5; death++) {
    const opening = stack.api.shell();
    await pause(randomInt(500));
    killRole("worker");
    const shell = await opening;
    expect(shell.code).toBe(0);
    const outcome = await Promise.race([
      shell.closed,
      shell.echo("alive").catch(() => shell.closed),
    ]);
    if (outcome) expect(outcome).toEqual(hostLost);
    else await worksIn(shell);
  }
  await worksIn(await stack.api.shell());
  await settled();
});

const getEnabled = () =>
  remote.api.request(`machines/${remote.machine}/policy/GetEnabled`, { method: "POST" });

// Calls of a method without an end, until the stop: how they were answered.
function keepCalling(): () => Promise<Set<number>> {
  const answers = new Set<number>();
  let running = true;
  const call = async () => {
    while (running) {
      const response = await getEnabled();
      answers.add(response.ok ? (await response.json()).status : response.status);
      if (!response.ok) await pause(20);
    }
  };
  const callers = Promise.all([call(), call(), call()]);
  callers.catch(() => {}); // Told to who stops them.
  return async () => {
    running = false;
    await callers;
    return answers;
  };
}

const callsWork = () =>
  expect.poll(async () => (await getEnabled()).status, { timeout: 60_000 }).toBe(200);

async function startWork(timeouts: number[]) {
  const runs = [];
  for (const timeout of timeouts) {
    const run = await remote.run(`"${testProgram}" sleep`, { execute: { timeout } });
    expect(run.status).toBe(0);
    runs.push({ timeout, context: JSON.stringify(run.output.runContext) });
  }
  const items = [{ sourceUri: "recovery.bin", to: `C:\\recovery\\${randomUUID()}` }];
  const files = [
    await remote.download(items),
    await remote.startUpload(["C:\\recovery\\source.bin"]),
  ];
  return { runs, files: files.map(({ output }) => output.jobId) };
}

// As on a machine that swaps: what is sent to the process meanwhile, it never reads.
async function standStill(role: Role, milliseconds: number): Promise<void> {
  for (const pid of processesWithRole(stack.data, role)) process.kill(pid, "SIGSTOP");
  await pause(milliseconds);
}

const phases = async () => (await remote.jobs()).map(({ phase }) => phase);

test("no end of a job is lost with the integration process, and each call is answered", async () => {
  for (let round = 0; round < 3; round++) {
    const stopCalling = keepCalling();
    const { runs, files } = await startWork([1, 1, 2, 2, 3, 3]);
    if (round > 0) await pause(randomInt(2_500));
    else await standStill("integration", 5_000);
    killRole("integration");
    await pause(50);
    await callsWork();
    const feed = await EventFeed.open(stack.api, remote.machine, 0);
    const ends: MachineEvent[] = [];
    for (const { context } of runs) {
      const isOurs = ({ payload }: MachineEvent) =>
        JSON.stringify(payload.data?.runContext) === context;
      ends.push(await feed.find(isOurs));
    }
    for (const id of files) await feed.find((event) => event.payload.data?.jobId === id);
    feed.close();
    const of = (seconds: number) =>
      ends.filter((_, i) => runs[i]?.timeout === seconds).map(({ id }) => id);
    expect(Math.max(...of(1))).toBeLessThan(Math.min(...of(3)));
    expect([...(await stopCalling())].filter((answer) => ![0, 409].includes(answer))).toEqual([]);
    expect(new Set(await phases())).toEqual(new Set(["ended"]));
  }
  await settled();
});

test("with the service its work ends and is known to be lost, and all begins anew", async () => {
  for (let round = 0; round < 2; round++) {
    const { files } = await startWork([]);
    const run = await remote.run(`"${testProgram}" tree`);
    expect([...files, run.status]).not.toContain(undefined);
    // Wine spares a process that is just being started when the job that it is in is ended.
    const programs = () => processesWithRole(stack.data, "testProgram");
    await expect.poll(programs, { timeout: 60_000 }).toHaveLength(3);
    const shell = await stack.api.shell();
    await shell.echo("before");
    const opening = stack.api.shell().then(
      (opened) => opened.closed,
      () => undefined, // Ended without a word of its opening.
    );
    const stopCalling = keepCalling();
    const last = remote.events.events.at(-1)?.id ?? 0;
    killRole("service");
    expect(await shell.closed).toEqual({ code: 1000, reason: "machineLost" });
    await opening;
    await stack.api.machineThat((machine) => machine.connected);
    await callsWork();
    await worksIn(await stack.api.shell());
    expect([...(await stopCalling())].filter((answer) => ![0, 409].includes(answer))).toEqual([]);
    expect((await phases()).filter((phase) => !["ended", "lost"].includes(phase))).toEqual([]);
    expect(await phases()).toContain("lost");

    const next = await remote.run("cmd /c echo again");
    expect(await remote.outputOf(await next.finished())).toContain("again");
    expect(remote.events.events.at(-1)?.id).toBeGreaterThan(last);
    await settled();
  }
});
