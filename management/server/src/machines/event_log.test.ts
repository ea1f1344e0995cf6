import { appendFileSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { expect, test } from "vitest";
import { EventReader } from "../testing/event_reader.ts";
import { bearer, TestServer } from "../testing/running_server.ts";

const path = "/api/machines/machine-0001/events";

async function follow(server: TestServer, lastId?: number): Promise<EventReader> {
  const last = lastId === undefined ? {} : { "last-event-id": String(lastId) };
  return new EventReader(await server.fetch(path, { headers: { ...bearer, ...last } }));
}

test("events arrive in order, can be caught up with, and go on counting after a restart", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  const fromNow = await follow(server);
  const raw = ['{"a":[1,null]}', '"text\\n\\nwith lines"', "0.5", "null"];
  for (const [seq, payload] of raw.entries()) {
    agent.send(`{"type":"event","seq":${seq},"name":"E${seq}","payload":${payload}}`);
  }
  for (const [index, payload] of raw.entries()) {
    const data = { name: `E${index}`, payload: JSON.parse(payload) };
    expect(await fromNow.next()).toEqual({ id: String(index + 1), data });
  }
  expect((await (await follow(server, 2)).next()).data.name).toBe("E2");
  expect((await server.fetch(path, { headers: { ...bearer, "last-event-id": "x" } })).status).toBe(
    400,
  );

  await server.stop();
  const file = join(server.dir, "data/events/machine-0001.jsonl");
  appendFileSync(file, 'not JSON\n{"id":9,"half a li');
  await server.start();
  const again = await server.agent();
  again.send({ type: "event", seq: 0, name: "After", payload: {} });
  const all = await follow(server, 0);
  const names = [];
  for (let i = 0; i < 5; i++) names.push((await all.next()).data.name);
  expect(names).toEqual(["E0", "E1", "E2", "E3", "After"]);
  await server.stop();
  const lines = readFileSync(file, "utf8").trimEnd().split("\n");
  expect(lines.map((line) => JSON.parse(line).id)).toEqual([1, 2, 3, 4, 5]);
});

test("the log of a machine that tells a lot stays bounded, and what is kept outlives a restart", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  const payload = "x".repeat(800 * 1024);
  for (let seq = 0; seq < 50; seq++) agent.send({ type: "event", seq, name: "Big", payload });
  agent.send({ type: "ping" });
  await agent.next("pong");
  expect((await (await follow(server, 49)).next()).id).toBe("50");
  const oldest = Number((await (await follow(server, 0)).next()).id);
  expect(oldest).toBeGreaterThan(50 - 21);
  await server.stop();
  await server.start();
  expect(Number((await (await follow(server, 0)).next()).id)).toBe(oldest);
});
