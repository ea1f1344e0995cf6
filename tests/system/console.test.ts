import { randomUUID } from "node:crypto";
import { afterAll, beforeAll, expect, test } from "vitest";
import type { HistoryRecord } from "../support/api.ts";
import { Console, type View, verifyHistory } from "../support/console.ts";
import { kill, processesWithRole } from "../support/processes.ts";
import type { Shell } from "../support/shell.ts";
import { Stack } from "../support/stack.ts";

// A stack of its own: its service dies, and its history is read whole.
let stack: Stack;
let english: Console;
let german: Console;
beforeAll(async () => {
  stack = await Stack.start();
  [english, german] = [Console.open(stack.data, "en"), Console.open(stack.data, "de")];
  await calm(english);
});
afterAll(async () => {
  await Promise.all([english.close(), german.close()]);
  expect(await stack.stop()).toBe(0);
});

const calm = (console: Console) =>
  console.see((view) => view.service && open(view) === 0 && view.banner.sessions.length === 0);

// What the list and the banner agree on; -1 while one of them is behind.
function open({ sessions, banner }: View): number {
  return sessions.length === banner.sessions.length ? sessions.length : -1;
}

const sessions = (count: number) => (view: View) => open(view) === count;

async function worksIn(shell: Shell): Promise<void> {
  expect(shell.code).toBe(0);
  await shell.echo(randomUUID());
}

// As a person reads it, in any language.
const date = /\d{1,2} \S+, \d\d:\d\d/.source;

test("who is connected is seen while he is, by two at once, and is history afterwards", async () => {
  const before = (await english.see(() => true)).history.size;
  const started = Math.floor(Date.now() / 1000);
  const shell = await stack.api.shell();
  const during = await english.see(sessions(1));
  expect(during.sessions[0]).toMatchObject({ id: shell.streamId, name: "Remote Shell Connection" });
  expect(during.sessions[0]?.description).toMatch(
    new RegExp(`^Administrator started a remote shell connection\\. Session Started: ${date}$`),
  );
  const [start] = during.banner.sessions;
  expect(start?.startTimestamp).toBeGreaterThanOrEqual(started - 1);
  expect(start?.startTimestamp).toBeLessThanOrEqual(Date.now() / 1000 + 1);
  const auf = await german.see(sessions(1));
  expect(auf.sessions[0]).toMatchObject({ id: shell.streamId, name: "Remoteshell-Verbindung" });
  const begonnen = "Ein Administrator hat eine Remoteshell-Verbindung gestartet";
  expect(auf.sessions[0]?.description).toMatch(
    new RegExp(`^${begonnen}\\. Sitzungsbeginn: ${date}$`),
  );

  await worksIn(shell);
  await shell.close();
  await calm(english);
  const after = await english.see(({ history }) => history.size > before);
  expect(after.history.newest?.title).toBe("Administrator ended a remote shell connection");
  expect(after.history.newest?.details).toMatch(
    new RegExp(`^Session Started: ${date}\\. Session Ended: ${date}$`),
  );
  const ab = await german.see((view) => open(view) === 0 && view.history.size > before);
  expect(ab.history.newest?.title).toBe(
    "Ein Administrator hat eine Remoteshell-Verbindung beendet",
  );
  expect(ab.history.newest?.details).toMatch(
    new RegExp(`^Sitzungsbeginn: ${date}\\. Sitzungsende: ${date}$`),
  );
  expect(await verifyHistory(stack.data)).toMatchObject({ code: 0 });
});

test("a console that comes late shows the sessions that are open", async () => {
  const shells = [await stack.api.shell(), await stack.api.shell()];
  const late = Console.open(stack.data);
  const view = await late.see(sessions(2));
  expect(view.sessions.map(({ id }) => id).sort()).toEqual(
    shells.map(({ streamId }) => streamId).sort(),
  );
  await shells[0]?.close();
  const left = await late.see(sessions(1));
  expect(left.sessions[0]?.id).toBe(shells[1]?.streamId);
  await shells[1]?.close();
  await calm(late);
  await late.close();
  await calm(english);
});

test.each(["worker", "service"] as const)(
  "a killed %s leaves nobody on the screen, and the next session is shown",
  async (role) => {
    const shell = await stack.api.shell();
    await english.see(sessions(1));
    kill(processesWithRole(stack.data, role));
    await shell.closed;
    await english.see(sessions(0));
    if (role === "service") {
      await stack.api.machineThat((machine) => !machine.connected);
      await stack.api.machineThat((machine) => machine.connected);
      // The session that was cut off has no record of its own.
      const cutOff = { feature: "History", values: { 0: "1" } };
      expect((await stack.api.history())[0]).toMatchObject(cutOff);
    }
    await calm(english);
    const next = await stack.api.shell();
    const view = await english.see(sessions(1));
    expect(view.sessions[0]?.id).toBe(next.streamId);
    await worksIn(next);
    await next.close();
    await calm(english);
    await calm(german);
  },
);

// The records of ended sessions after `since`. A session that was asked to end from two sides has one more, without a start.
async function ended(since: number): Promise<HistoryRecord[]> {
  return (await stack.api.history()).filter(
    ({ sequence, feature, values }) =>
      sequence > since && feature === "RemoteAccess" && values[2] !== "0",
  );
}

test("a stop with open sessions records each of them, and is no sudden end", async () => {
  const [before] = await stack.api.history();
  await stack.api.shell();
  await stack.api.shell();
  const during = await english.see(sessions(2));
  await Promise.all([english.close(), german.close()]);
  expect(await stack.stop({ keep: true })).toBe(0);
  stack = await Stack.start([], stack.data);
  [english, german] = [Console.open(stack.data, "en"), Console.open(stack.data, "de")];
  await calm(english);
  const records = await ended(before?.sequence ?? 0);
  expect(records.map(({ values }) => Number(values[2])).sort()).toEqual(
    during.banner.sessions.map(({ startTimestamp }) => startTimestamp).sort(),
  );
  expect((await stack.api.history())[0]?.feature).toBe("RemoteAccess");
  expect(await verifyHistory(stack.data)).toMatchObject({ code: 0 });
});
