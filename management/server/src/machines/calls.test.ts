import { expect, test } from "vitest";
import { TestServer } from "../testing/running_server.ts";

test("a call carries its text as it is both ways, if it is one that the agent can take", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  const answer = { result: 3, code: 4294967295, text: '{"ä": "\\u0000"}' };
  agent.onCall = () => answer;
  const params = '  no JSON at all \u0000 "ü" ';
  expect(await (await server.call("Any", params)).json()).toEqual(answer);
  expect(await agent.next("rpc")).toMatchObject({ params });
  for (const [status, body, query] of [
    [413, "x".repeat(1024 * 1024 + 1)],
    [413, "\u0000".repeat(512 * 1024)],
    [400, new Uint8Array([0xff]) as unknown as string],
    [400, "", "?module=a&module=b"],
  ] as const) {
    expect((await server.call("Any", body, query)).status).toBe(status);
  }
});

test("a call without an answer ends after its time or with the connection, and a late answer goes to nobody", async () => {
  const server = await TestServer.start({ callMs: 3000 });
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
  await agent.next("rpc");

  agent.onCall = () => null;
  const calls = ["Running", "Waiting", "Waiting"].map((method) => server.call(method));
  // One by one: the others wait for their turn.
  expect(await agent.next("rpc")).toMatchObject({ method: "Running" });
  await agent.heard();
  expect(agent.unread()).toEqual([]);
  agent.socket.terminate();
  expect((await Promise.all(calls)).map(({ status }) => status)).toEqual([409, 409, 409]);
});
