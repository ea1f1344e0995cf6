import { expect, test } from "vitest";
import { TestServer } from "../testing/running_server.ts";

test("a call carries its text as it is, and the answer comes back as it is", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  agent.onCall = () => ({ result: 3, code: 4294967295, text: '{"ä": "\\u0000"}' });
  const params = '  no JSON at all \u0000 "ü" ';
  const response = await server.call("OpenTerminal", params, "?module=remoteaccess");
  expect(await response.json()).toEqual({ result: 3, code: 4294967295, text: '{"ä": "\\u0000"}' });
  const call = await agent.next("rpc");
  expect(call).toMatchObject({ module: "remoteaccess", method: "OpenTerminal", params });
  await server.call("Empty");
  expect(await agent.next("rpc")).toMatchObject({ module: "RemoteAccess", params: "" });

  expect((await server.call("Any", "", "", "unknown-machine")).status).toBe(404);
  expect((await server.fetch("/api/nope")).status).toBe(404);
  expect((await server.call("Any", "x".repeat(1024 * 1024 + 1))).status).toBe(413);
  expect((await server.call("Any", "\u0000".repeat(512 * 1024))).status).toBe(413);
  const bytes = new Uint8Array([0xff]) as unknown as string;
  expect((await server.call("Any", bytes)).status).toBe(400);
});

test("calls of one machine run one by one, and only so many wait for it", async () => {
  const server = await TestServer.start({ callsWaiting: 2 });
  const agent = await server.agent();
  await server.agent({ id: "machine-0002" });
  agent.onCall = () => null;
  const running = server.call("Running");
  const { id } = await agent.next("rpc");
  const waiting = ["A", "B", "C"].map((method) => server.call(method));
  const refused = await Promise.race(waiting);
  expect([refused.status, await refused.json()]).toMatchObject([429, { error: "busy" }]);
  expect((await server.call("Any", "", "", "machine-0002")).status).toBe(200);

  expect(agent.unread()).toEqual([]);
  agent.onCall = () => ({});
  agent.send({ type: "rpcReply", id, result: 0, code: 0, text: "" });
  expect((await running).status).toBe(200);
  const statuses = (await Promise.all(waiting)).map((response) => response.status);
  expect(statuses.sort()).toEqual([200, 200, 429]);
});

test("a call without an answer ends after its time, and the answer that comes late goes to nobody", async () => {
  const server = await TestServer.start({ callMs: 1000 });
  const agent = await server.agent();
  agent.onCall = () => null;
  const response = await server.call("Stuck");
  expect([response.status, await response.json()]).toMatchObject([504, { error: "timeout" }]);
  const { id } = await agent.next("rpc");
  agent.onCall = (call) => {
    agent.send({ type: "rpcReply", id, result: 0, code: 0, text: "late" });
    return { text: call.method };
  };
  expect(await (await server.call("Next")).json()).toMatchObject({ text: "Next" });
});

test("a lost connection answers the running call and all that wait", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  agent.onCall = () => null;
  const calls = [server.call("Running"), server.call("Waiting"), server.call("Waiting")];
  await agent.next("rpc");
  agent.socket.terminate();
  expect((await Promise.all(calls)).map((response) => response.status)).toEqual([409, 409, 409]);
});
