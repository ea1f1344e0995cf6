import { EventEmitter, once } from "node:events";
import { existsSync, mkdirSync, statSync } from "node:fs";
import { join } from "node:path";
import { expect, test } from "vitest";
import { EventReader } from "../testing/event_reader.ts";
import { bearer, TestServer } from "../testing/running_server.ts";
import { temporaryFolder } from "../testing/temporary_folder.ts";
import { EventLog } from "./event_log.ts";

test("the log of a machine that tells a lot stays bounded, on disk and after a restart", async () => {
  const file = join(temporaryFolder(), "events.jsonl");
  const fail = (error: unknown) => expect.fail(String(error));
  const log = new EventLog(file, fail);
  const payload = JSON.stringify("x".repeat(10_000));
  log.append({ seq: 7, name: "Early", payload }, "store");
  for (let seq = 1; seq < 5000; seq++) log.append({ seq, name: "Big", payload });
  const kept = log.since(0);
  expect(kept.length * 10_000).toBeGreaterThan(15 * 1024 * 1024);
  expect(kept.length * 10_000).toBeLessThan(16 * 1024 * 1024);
  expect(kept.at(-1)?.id).toBe(5000);
  expect(log.since(4999).map((event) => event.seq)).toEqual([4999]);
  await log.flush();
  expect(statSync(file).size).toBeLessThan(40 * 1024 * 1024);
  const again = new EventLog(file, fail);
  expect(again.since(0)[0]?.id).toBe(kept[0]?.id);
  // The numbers outlive the events themselves.
  expect(again.lastWritten("store")).toBe(7);
  await again.flush();
});

test("events that could not be written are not claimed to be, and are written once that is possible", async () => {
  const folder = join(temporaryFolder(), "gone");
  const file = join(folder, "events.jsonl");
  const errors = new EventEmitter();
  const log = new EventLog(file, () => errors.emit("failed"), 1000);
  log.append({ seq: 7, name: "A", payload: "1.0" }, "store");
  const written = log.written();
  await once(errors, "failed");
  mkdirSync(folder);
  // The disk is well again, but a later event alone would hide after a crash that the earlier one is missing.
  log.append({ seq: 8, name: "B", payload: "{}" }, "store");
  await log.flush();
  expect(existsSync(file)).toBe(false);
  expect(log.lastWritten("store")).toBe(0);
  await written;
  await log.written();
  const again = new EventLog(file, (error) => expect.fail(String(error)));
  expect(again.lastWritten("store")).toBe(8);
  expect(again.since(0).map((event) => event.payload)).toEqual(["1.0", "{}"]);
});

test("a slow follower gets every event, in order, however many there are", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  const payload = "x".repeat(100_000);
  for (let seq = 1; seq <= 100; seq++) agent.send({ type: "event", seq, name: "Big", payload });
  await agent.heard();
  const follow = (id: string) =>
    server.fetch("/api/machines/machine-0001/events", {
      headers: { ...bearer, "last-event-id": id },
    });
  expect((await follow("x")).status).toBe(400);
  const follower = new EventReader(await follow("0"));
  for (let id = 1; id <= 100; id++) expect((await follower.next()).id).toBe(String(id));
});
