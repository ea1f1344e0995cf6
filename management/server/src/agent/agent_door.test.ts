import { expect, test } from "vitest";
import { EventReader } from "../testing/event_reader.ts";
import { FakeAgent } from "../testing/fake_agent.ts";
import { openSocket } from "../testing/peer.ts";
import { KEY, TestServer } from "../testing/running_server.ts";

const first = "machine-0001";
const state = (id: string, connected: boolean, more = {}) =>
  expect.objectContaining({ id, connected, ...more });

test("a wrong key is refused before the upgrade and shown as refused, until the right one comes", async () => {
  const server = await TestServer.start();
  const live = new EventReader(await server.fetch("/api/live"));
  expect((await live.next()).data).toEqual({ machines: [], refused: [] });
  for (const key of ["wrong", "", `${KEY}x`]) {
    const attempt = FakeAgent.connect(server.url, { key, name: "a\u202e\n<b>" });
    await expect(attempt).rejects.toMatchObject({ status: 401, body: { error: "unauthorized" } });
  }
  const { refused } = (await live.find((data) => data.refused[0]?.count === 3)).data;
  expect(refused).toMatchObject([{ id: first, name: "a\uFFFD\uFFFD<b>" }]);
  expect(await server.machines()).toEqual([]);

  const agent = await server.agent({ enabled: false });
  const { data } = await live.find(({ machines }) => machines[0]?.connected);
  expect(data.refused).toEqual([]);
  expect(data.machines).toMatchObject([{ name: "Désk 1", enabled: false, sessions: 0 }]);
  agent.send({ type: "state", enabled: true });
  await live.find(({ machines }) => machines[0].enabled);
  agent.socket.close();
  await live.find(({ machines }) => !machines[0].connected);
  expect(server.log).not.toContain(KEY);

  for (let i = 0; i < 101; i++) {
    await FakeAgent.connect(server.url, { key: "wrong", id: `stranger-${i}` }).catch(() => {});
  }
  const all = (await live.find((now) => now.refused.at(-1)?.id === "stranger-100")).data.refused;
  expect([all.length, all[0].id]).toEqual([100, "stranger-1"]);

  // What is known outlives a restart.
  await server.agent({ id: "machine-0002" });
  await server.stop();
  await server.start();
  expect(await server.machines()).toEqual([state(first, false), state("machine-0002", false)]);
  await expect(server.terminal()).rejects.toMatchObject({ status: 409 });
});

test("malformed headers are refused with 400", async () => {
  const server = await TestServer.start();
  for (const [id, name] of [
    ["../../../etc", "name"],
    ["a".repeat(65), "name"],
    [first, ""],
    [first, "%FF%FE"],
    [first, "%C3%A9".repeat(128)],
  ] as const) {
    const headers = { authorization: `Bearer ${KEY}`, "x-machine-id": id, "x-machine-name": name };
    const attempt = openSocket(`${server.url}/api/agent`, headers);
    await expect(attempt).rejects.toMatchObject({ status: 400 });
  }
  expect(await server.machines()).toEqual([]);
});

test("a machine counts as connected with its hello, which comes first, once and in time", async () => {
  const server = await TestServer.start({ helloMs: 1000 });
  const silent = await FakeAgent.connect(server.url, { key: KEY, hello: false });
  expect(await silent.closed).toEqual({ code: 1008, reason: "no hello in time" });
  for (const message of [{ type: "state" }, { type: "hello", version: 2 }]) {
    const hasty = await FakeAgent.connect(server.url, { key: KEY, hello: false });
    hasty.send({ ...message, enabled: true });
    expect((await hasty.closed).code).toBe(1008);
  }
  expect(await server.machines()).toEqual([]);
  const polite = await server.agent();
  expect(await server.machines()).toEqual([state(first, true)]);
  polite.send({ type: "hello", version: 1, enabled: true });
  expect((await polite.closed).code).toBe(1008);
  expect(await server.machines()).toEqual([state(first, false)]);
});

test("what an agent may not send closes its connection with a reason and touches nobody else", async () => {
  const server = await TestServer.start();
  const bystander = await server.agent({ id: "bystander-1" });
  const { client, stream } = await server.openTerminal("", "bystander-1");
  const stream1 = { type: "stream", stream: "s", message: "data" };
  for (const [code, message] of [
    [1007, ""],
    [1008, "null"],
    [1008, '{"type":"__proto__"}'],
    [1008, { type: "state", enabled: "yes" }],
    [1008, { ...stream1, content: 7 }],
    [1009, { ...stream1, content: "a".repeat(1024 * 1024) }],
  ] as const) {
    const agent = await server.agent();
    agent.send(message);
    const end = await agent.closed;
    expect(end.code, JSON.stringify(message).slice(0, 80)).toBe(code);
    if (code !== 1009) expect(end.reason).not.toBe("");
  }
  const binary = await server.agent();
  binary.socket.send(Buffer.from('{"type":"ping"}'));
  expect((await binary.closed).code).toBe(1003);
  bystander.output(stream, "alive");
  expect((await client.next("data")).content.encodedBuffer).toBe(btoa("alive"));
});

test("a silent agent is pinged, then given up; one that answers stays", async () => {
  const server = await TestServer.start({ pingMs: 30, silenceMs: 3000 });
  const agent = await server.agent();
  const mute = await server.agent({ id: "mute-machine", answersPings: false });
  for (let i = 0; i < 5; i++) await agent.next("ping");
  await mute.next("ping");
  expect(await mute.closed).toEqual({ code: 1008, reason: "silent for too long" });
  await agent.next("ping");
  expect(await server.machines()).toEqual([state(first, true), state("mute-machine", false)]);
});
