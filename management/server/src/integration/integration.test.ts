import { appendFileSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { expect, test } from "vitest";
import { EventReader } from "../testing/event_reader.ts";
import { FakeIntegration } from "../testing/fake_integration.ts";
import { bearer, KEY, TestServer } from "../testing/running_server.ts";

const events = "/api/machines/machine-0001/events";

async function namesOf(server: TestServer, count: number): Promise<string[]> {
  const reader = new EventReader(
    await server.fetch(events, { headers: { ...bearer, "last-event-id": "0" } }),
  );
  const names = [];
  for (let i = 0; i < count; i++) names.push((await reader.next()).data.name);
  return names;
}

const deep = (levels: number) => "[".repeat(levels) + "]".repeat(levels);

test("a policy call carries its JSON as it is, and the answer comes back as it is", async () => {
  const server = await TestServer.start();
  const machine = await server.integration();
  const texts: string[] = [];
  machine.socket.on("message", (data) => texts.push(String(data)));
  const raw = '{ "a" : 1.0, "b": 12345678901234567890, "c\\"]": [" \\u0000 x", -0, {}], "": null}';
  const compact = '{"a":1.0,"b":12345678901234567890,"c\\"]":[" \\u0000 x",-0,{}],"":null}';
  machine.onPolicy = ({ id }) => {
    machine.send(
      `{"output":1,"type":"policyReply", "status":-1,"id":${id},"out\\u0070ut" : ${raw}\n}`,
    );
    return null;
  };
  const response = await server.policy("Get Enabled", `\n${raw}`);
  expect(await response.text()).toBe(`{"status":-1,"output":${compact}}`);
  expect(texts[0]).toContain(`"method":"Get Enabled","input":\n${raw}}`);

  machine.onPolicy = ({ input }) => ({ status: 160, output: input });
  expect(await (await server.policy("Any")).json()).toEqual({ status: 160, output: {} });
  expect((await server.policy("Any", deep(500))).status).toBe(200);
  for (const [status, body] of [
    [400, '{"a":1}}'],
    [400, " "],
    [400, "[1e999]"],
    [400, '{"\\ud800":1}'],
    [200, '"\\ud83d\\ude00"'],
    [400, new Uint8Array([0x22, 0xff, 0x22])],
    [400, deep(4_000_000)],
    [400, "[".repeat(8 * 1024 * 1024)],
    [413, `"${"x".repeat(8 * 1024 * 1024 - 10)}"`],
    [413, `"${"x".repeat(8 * 1024 * 1024)}"`],
  ] as const) {
    expect((await server.policy("Any", body)).status, String(body.slice(0, 20))).toBe(status);
  }
  expect((await server.policy("Any", "", "unknown-machine")).status).toBe(404);
  expect((await server.policy("Any", `"${"x".repeat(8_000_000)}"`)).status).toBe(200);

  await server.policy("Secret", '{"password":"hunter2"}');
  await server.stop();
  const audit = readFileSync(join(server.dir, "data/audit.log"), "utf8");
  expect(audit).toContain('"policy","machine":"machine-0001","details":{"method":"Secret"}');
  expect(audit + server.log).not.toContain("hunter2");
});

test("policy calls run several at once, wait in a bounded queue, and end with the connection", async () => {
  const server = await TestServer.start({ policyCallsAtOnce: 2, callsWaiting: 1 });
  const machine = await server.integration();
  const main = await server.agent();
  machine.onPolicy = () => null;
  const [first, second] = [server.policy("A"), server.policy("B")];
  const calls = [await machine.next("policy"), await machine.next("policy")];
  const third = server.policy("C");
  const refused = await Promise.race([third, server.policy("D")]);
  expect(refused.status).toBe(429);
  for (const { id, method } of calls.reverse()) {
    machine.send({ type: "policyReply", id, status: 0, output: method });
  }
  expect(await (await first).json()).toEqual({ status: 0, output: "A" });
  expect(await (await second).json()).toEqual({ status: 0, output: "B" });
  const { id } = await machine.next("policy");
  machine.send({ type: "policyReply", id, status: 0, output: null });
  machine.send({ type: "policyReply", id, status: 0, output: "a second time" });

  const cut = [server.policy("E"), server.policy("F"), server.policy("G")];
  await machine.next("policy");
  machine.socket.terminate();
  expect((await Promise.all(cut)).map((r) => r.status)).toEqual([409, 409, 409]);
  expect((await server.policy("Any")).status).toBe(409);
  expect((await server.call("Any")).status).toBe(200);
  expect(main.unread().map((message) => message.type)).toEqual(["rpc"]);
});

test("an agent that takes nothing of what it is sent is given up before that fills the memory", async () => {
  const server = await TestServer.start({ untakenBytes: 1024 * 1024 });
  const machine = await server.integration();
  machine.socket.pause();
  expect((await server.policy("Any", `"${"x".repeat(8_000_000)}"`)).status).toBe(409);
  expect((await server.policy("Any")).status).toBe(409);
});

test("the integration connection is guarded as the main one is, and comes and goes by itself", async () => {
  const server = await TestServer.start();
  const wrong = FakeIntegration.connect(server.url, { key: "wrong" });
  await expect(wrong).rejects.toMatchObject({ status: 401 });
  const first = await server.integration();
  first.send({ type: "status", agents: [{ name: "RemoteAccess", enabled: true }] });
  first.event(1);
  await first.acknowledged(1);
  const known = { name: "Desk", connected: false, enabled: true };
  expect(await server.machines()).toMatchObject([known]);
  const second = await server.integration();
  expect(await first.closed).toEqual({ code: 4001, reason: "replaced" });
  expect((await server.policy("Any")).status).toBe(200);
  for (const [code, message] of [
    [1008, { type: "event", seq: 0, name: "Any", payload: {} }],
    [1008, `{"type":"event","seq":2,"name":"Deep","payload":${deep(2000)}}`],
    [1009, { type: "event", seq: 2, name: "Long", payload: "x".repeat(8 * 1024 * 1024) }],
  ] as const) {
    const machine = await server.integration();
    machine.send(message);
    expect((await machine.closed).code, JSON.stringify(message).slice(0, 80)).toBe(code);
  }
  expect((await second.closed).code).toBe(4001);
  expect(await namesOf(server, 1)).toEqual(["Any"]);
});

test("each event of a store is kept once and in order, over broken connections and restarts", async () => {
  const server = await TestServer.start();
  const file = join(server.dir, "data/events/machine-0001.jsonl");
  const machine = await server.integration();
  for (const seq of [1, 2, 2, 1, 5]) machine.event(seq, `E${seq}`);
  await machine.acknowledged(5);
  const kept = readFileSync(file, "utf8").trimEnd().split("\n");
  expect(kept.map((line) => JSON.parse(line).seq)).toEqual([1, 2, 5]);

  await server.stop();
  // As a crash in the middle of a line leaves it: that event is not there, and comes again.
  appendFileSync(file, 'not JSON\n{"id":4,"at":"","seq":6,"name":"E6","store":"store 1","payl');
  await server.start();
  const again = await FakeIntegration.connect(server.url, { key: KEY });
  expect(await again.next("welcome")).toMatchObject({ acknowledged: 5 });
  for (const seq of [2, 5, 6]) again.event(seq, `E${seq}`);
  await again.acknowledged(6);
  const other = await FakeIntegration.connect(server.url, { key: KEY, store: "store 2" });
  expect(await other.next("welcome")).toMatchObject({ acknowledged: 0 });
  other.event(1, "Other");
  await other.acknowledged(1);
  expect(await namesOf(server, 5)).toEqual(["E1", "E2", "E5", "E6", "Other"]);
});
