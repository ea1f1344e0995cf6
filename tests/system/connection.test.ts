import { readFileSync } from "node:fs";
import { join } from "node:path";
import { expect, inject, test } from "vitest";
import { WebSocket } from "ws";
import { sharedApi } from "../support/shared_api.ts";
import { Stack } from "../support/stack.ts";

const api = sharedApi();

async function agentDoor(headers: Record<string, string>): Promise<WebSocket | number> {
  const socket = new WebSocket(`${api.address.replace("http", "ws")}/api/agent`, { headers });
  return new Promise((answer) => {
    socket.on("open", () => answer(socket));
    socket.on("unexpected-response", (_request, response) => answer(response.statusCode ?? 0));
    socket.on("error", () => {});
  });
}

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
  const intruder = (await agentDoor(headers)) as WebSocket;
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

test("who has the wrong key or token stays outside", async () => {
  const headers = { "X-Machine-Id": "0123456789abcdef", "X-Machine-Name": "stranger" };
  expect(await agentDoor({ ...headers, Authorization: "Bearer wrong" })).toBe(401);
  for (const path of ["/api/machines", "/api/live", "/api/machines/x/events"]) {
    expect((await fetch(api.address + path)).status).toBe(401);
  }
  const unknown = await fetch(`${api.address}/api/machines/nobody/rpc/Nope`, {
    method: "POST",
    headers: api.headers,
    body: "{}",
  });
  expect(unknown.status).toBe(404);
});

test("a machine whose switch is off opens nothing", async () => {
  const off = await Stack.start(["--feature-off"]);
  try {
    expect(await off.api.machine()).toMatchObject({ connected: true, enabled: false });
    expect(await off.api.rpc("OpenTerminal", '{"streamId":"some"}')).toMatchObject({ code: 21 });
    expect((await off.api.shell()).code).toBe(21);
  } finally {
    expect(await off.stop()).toBe(0);
  }
});
