import { once } from "node:events";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { expect, inject, test } from "vitest";
import { WebSocket } from "ws";
import { sharedApi } from "../support/shared_api.ts";

const api = sharedApi();

test("a lost connection ends the sessions, and the agent comes back by itself", async () => {
  const { id, name } = await api.machine();
  const [first, second] = [await api.shell(), await api.shell()];
  await first.echo("before");
  await second.echo("before");

  // Another agent of that name takes the place, which breaks the real one's connection off.
  const headers = {
    Authorization: `Bearer ${readFileSync(join(inject("data"), "enrolment-key"), "utf8").trim()}`,
    "X-Machine-Id": id,
    "X-Machine-Name": encodeURIComponent(name),
  };
  const door = `${api.address.replace("http", "ws")}/api/agent`;
  const intruder = new WebSocket(door, { headers });
  await once(intruder, "open");
  intruder.send(JSON.stringify({ type: "hello", version: 1, enabled: true }));
  for (const shell of [first, second]) {
    expect(await shell.closed).toEqual({ code: 1000, reason: "machineLost" });
  }
  const away = api.machineThat((machine) => !machine.connected);
  intruder.close();
  await away;

  await api.machineThat((machine) => machine.connected);
  const shell = await api.shell();
  await shell.echo("after");
  await shell.close();
});
