import { once } from "node:events";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { expect, test, vi } from "vitest";
import type { FakeAgent } from "../testing/fake_agent.ts";
import type { Peer } from "../testing/peer.ts";
import { TestServer } from "../testing/running_server.ts";

const open = { id: "machine-0001", connected: true };
const textOf = (message: { content: { encodedBuffer: string } }) =>
  Buffer.from(message.content.encodedBuffer, "base64").toString();

/** What the machine was sent on a stream, up to now. */
async function inward(agent: FakeAgent, client?: Peer): Promise<unknown[]> {
  if (client) {
    client.socket.ping();
    await once(client.socket, "pong");
  }
  await agent.heard();
  const streams = agent.unread().filter((message) => message.type === "stream");
  return streams.map((message) => JSON.parse(message.text));
}

/** Resolves once the machine has no session left. */
async function noSessions(server: TestServer, agent: FakeAgent): Promise<void> {
  await agent.heard();
  expect(await server.machines()).toMatchObject([{ ...open, sessions: 0 }]);
}

test("a request for a shell that can't be met is refused before the upgrade, or bounded", async () => {
  const server = await TestServer.start();
  const refused = (id: string, query: string, status: number) =>
    expect(server.terminal(query, id)).rejects.toMatchObject({ status });
  for (const id of ["machine-0001", "", "x/y"]) await refused(id, "", 404);
  const agent = await server.agent();
  for (const timeout of ["0", "1.5", "x", "", "4294968"]) {
    await refused("machine-0001", `?inactivityTimeout=${timeout}`, 400);
  }
  await refused("machine-0001", "?cols=wide", 400);
  const { stream } = await server.openTerminal("?cols=0&rows=5000&inactivityTimeout=7");
  expect(JSON.parse((await agent.next("rpc")).params)).toEqual({
    streamId: stream,
    size: { cols: 1, rows: 1000 },
    inactivityTimeout: 7,
  });
});

test("output reaches the client in order, also what came before the answer, and the end comes last", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  agent.onCall = ({ params }) => {
    agent.output(JSON.parse(params).streamId, "before the answer");
    return {};
  };
  const client = await server.terminal();
  const { content } = await client.next("opened");
  const stream = content.streamId;
  for (let i = 0; i < 200; i++) agent.output(stream, `line ${i}`);
  agent.sendStream(stream, "remoteAccessDownloadFinished", '{"big": 12345678901234567890}');
  agent.output(stream, "last");
  agent.sendStream(stream, "streamStop", '{"reason":0}');
  agent.output(stream, "too late");
  agent.endStream(stream);
  expect(await client.closed).toEqual({ code: 1000, reason: "shellExited" });
  const texts = client
    .unread()
    .map((message) => (message.type === "data" ? textOf(message as never) : message.type));
  const lines = Array.from({ length: 200 }, (_, i) => `line ${i}`);
  const ends = ["remoteAccessDownloadFinished", "last", "streamStop"];
  expect(texts).toEqual(["before the answer", ...lines, ...ends]);
  await noSessions(server, agent);
  expect(await inward(agent)).toEqual([]);
});

test("each way to end is told with its reason, and the machine is asked to stop at most once", async () => {
  const server = await TestServer.start({ closeMs: 100 });
  const agent = await server.agent();
  {
    // The client asks: more than once, and goes on talking.
    const { client, stream } = await server.openTerminal();
    const typed = { type: "data", data: { encodedBuffer: "no base64!" }, why: "kept as it is" };
    client.send(typed);
    client.send({ type: "resize", resize: { cols: -5.5, rows: 1e9 } });
    client.send({ type: "streamError" });
    client.send({ type: "streamStop" });
    client.send({ type: "data", data: { encodedBuffer: "" } });
    const resize = { type: "resize", resize: { cols: 1, rows: 1000 } };
    expect(await inward(agent, client)).toEqual([typed, resize, { type: "streamError" }]);
    agent.endStream(stream);
    expect(await client.closed).toEqual({ code: 1000, reason: "closed" });
  }
  {
    // The client just goes; the machine's answer finds nobody.
    const { client, stream } = await server.openTerminal();
    client.socket.terminate();
    const { text } = await agent.next("stream");
    expect(text).toBe('{"type":"streamStop"}');
    agent.endStream(stream);
    await noSessions(server, agent);
    expect(await inward(agent)).toEqual([]);
  }
  {
    // The machine never answers: the record goes after its time.
    const { client } = await server.openTerminal();
    client.send({ type: "streamStop" });
    expect(await client.closed).toEqual({ code: 1000, reason: "closed" });
    await noSessions(server, agent);
  }
  for (const [typedAt, endedAt, reason] of [
    [0, 299, "shellExited"],
    [0, 300, "inactivity"],
    [200, 500, "inactivity"],
  ] as const) {
    const { client, stream } = await server.openTerminal();
    const opened = performance.now();
    const now = vi.spyOn(performance, "now").mockReturnValue(opened + typedAt * 1000);
    agent.unread();
    if (typedAt > 0) {
      client.send({ type: "data", data: { encodedBuffer: "" } });
      await agent.next("stream");
    }
    now.mockReturnValue(opened + endedAt * 1000);
    agent.endStream(stream);
    expect((await client.closed).reason, `${typedAt}, ${endedAt}`).toBe(reason);
    now.mockRestore();
  }
  for (const [reason, told] of [
    ["lost", "streamLost"],
    ["hostLost", "hostLost"],
  ]) {
    const { client, stream } = await server.openTerminal();
    agent.send({ type: "streamClosed", stream, reason });
    expect((await client.closed).reason).toBe(told);
  }
  {
    const lost = await server.openTerminal();
    agent.socket.terminate();
    expect(await lost.client.closed).toEqual({ code: 1000, reason: "machineLost" });
  }
});

test("an opening that fails is told with its code, and the stream is given up", async () => {
  const server = await TestServer.start({ callMs: 1500 });
  const agent = await server.agent();
  for (const [answer, code] of [
    [{ result: 3, code: 0 }, 3],
    [null, 1460],
  ] as const) {
    agent.onCall = () => answer;
    const client = await server.terminal();
    const opened = await client.next("opened");
    expect(opened.content.code).toBe(code);
    expect(await client.closed).toEqual({ code: 1000, reason: "openFailed" });
    expect((await agent.next("streamClose")).stream).toBe(opened.content.streamId);
    agent.send({ type: "streamClosed", stream: opened.content.streamId, reason: "unused" });
  }
  await noSessions(server, agent);

  // A client that leaves while its shell is being opened leaves no shell behind.
  let answer = () => {};
  agent.onCall = ({ id }) => {
    answer = () => agent.send({ type: "rpcReply", id, result: 0, code: 0, text: "" });
    return null;
  };
  agent.unread();
  const hasty = await server.terminal();
  await agent.next("rpc");
  hasty.socket.terminate();
  answer();
  expect(JSON.parse((await agent.next("stream")).text)).toEqual({ type: "streamStop" });
});

test("what a client may not send closes its connection, ends its session and touches nobody else", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  const bystander = await server.openTerminal();
  for (const [code, message] of [
    [1007, "{"],
    [1008, '{"type":"data","data":{"encodedBuffer":7}}'],
    [1008, '{"type":"resize","resize":{"cols":"1","rows":1}}'],
    [1008, { type: "ack", bytes: 1 }],
    [1009, { type: "data", data: { encodedBuffer: "a".repeat(1024 * 1024 - 60) } }],
    [1009, { type: "data", data: { encodedBuffer: "a".repeat(1024 * 1024) } }],
  ] as const) {
    const { client, stream } = await server.openTerminal("?ack=1");
    agent.unread();
    client.send(message);
    expect((await client.closed).code, JSON.stringify(message).slice(0, 80)).toBe(code);
    expect(await agent.next("stream")).toMatchObject({ stream, text: '{"type":"streamStop"}' });
    agent.endStream(stream);
  }
  agent.output(bystander.stream, "alive");
  expect(textOf((await bystander.client.next("data")) as never)).toBe("alive");
});

test("output is credited once its reader has acknowledged it, or at once where nobody listens", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  const credited = async () => (await agent.next("streamCredit")).stream;
  const { client, stream } = await server.openTerminal("?ack=1");
  const piece = "x".repeat(40 * 1024);
  agent.output(stream, piece);
  agent.output("of-a-script", "unheard");
  expect(await credited()).toBe("of-a-script");
  const { content } = await client.next("data");
  client.send({ type: "ack", bytes: content.encodedBuffer.length });
  expect(await credited()).toBe(stream);
  client.socket.close();
  await client.closed;
  agent.output(stream, piece);
  expect(await credited()).toBe(stream);
});

test("a stopping server asks every machine to end its sessions and writes down who did what", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  const { client, stream } = await server.openTerminal();
  client.send({ type: "data", data: { encodedBuffer: btoa("secret typing") } });
  await agent.next("stream");
  const stopped = server.stop();
  expect((await agent.next("stream")).text).toBe('{"type":"streamStop"}');
  agent.endStream(stream);
  expect(await client.closed).toEqual({ code: 1001, reason: "serverStopping" });
  expect((await agent.closed).code).toBe(1001);
  await stopped;
  const audit = readFileSync(join(server.dir, "data/audit.log"), "utf8");
  const lines = audit.trimEnd().split("\n");
  const who = { who: "token", machine: "machine-0001" };
  expect(lines.map((line) => JSON.parse(line))).toMatchObject([
    { who: "server", action: "serverStart" },
    { ...who, action: "terminalOpen", details: { stream }, result: { ok: true, code: 0 } },
    { ...who, action: "terminalEnd", details: { stream }, result: { reason: "serverStopping" } },
    { who: "server", action: "serverStop" },
  ]);
  expect(audit).not.toContain(btoa("secret typing"));
});
