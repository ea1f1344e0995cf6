import { expect, test } from "vitest";
import { decodeOutput } from "../commands/decode_output";
import { itemResults, storedArchive } from "../files/stored_archive";
import { hashOf, readRoute } from "../routing";
import { EventText } from "./event_text";
import { type Job, withNews } from "./jobs_feed";

test("events are read whole wherever their text was cut", () => {
  const sent = ': beat\n\nid: 7\ndata: {"a":"ü"}\n\ndata: two\ndata: lines\n\nid: 9\ndata: half';
  const whole = [
    { id: "7", data: '{"a":"ü"}' },
    { id: "7", data: "two\nlines" },
  ];
  for (let cut = 0; cut <= sent.length; cut++) {
    const text = new EventText();
    expect([...text.take(sent.slice(0, cut)), ...text.take(sent.slice(cut))]).toEqual(whole);
    expect(text.take("\n\n")).toEqual([{ id: "9", data: "half" }]);
  }
});

test("the feed of jobs keeps the newest first, and takes a changed job in its place", () => {
  const job = (id: number, phase: Job["phase"]) => ({ id, phase }) as Job;
  const first = withNews([], { jobs: [job(1, "ended"), job(2, "running")] });
  const more = withNews(withNews(first, { job: job(3, "asked") }), { job: job(2, "ended") });
  expect(more).toEqual([job(3, "asked"), job(2, "ended"), job(1, "ended")]);
  for (const strange of [undefined, null, 5, "x", {}, { job: null }]) {
    expect(withNews(more, strange)).toBe(more);
  }
  expect(withNews(more, { jobs: [] })).toEqual([]);
});

test("an archive is found in every form of the storage's answer, and nowhere where none arrived", () => {
  const end = (httpResponse: object, status = "success") => ({
    status,
    centralizedStorage: { profile: "p/1", httpResponse },
  });
  const json = '{"name":"ä b.zip","size":3}';
  for (const answer of [
    { body: JSON.parse(json) },
    { body: json },
    { body64: Buffer.from(json).toString("base64") },
  ]) {
    expect(storedArchive(end(answer))?.path).toBe("/api/storage/p%2F1/%C3%A4%20b.zip");
    expect(storedArchive(end(answer, "aborted"))).toBeUndefined();
  }
  for (const answer of [{}, { body: "<html>" }, { body64: "???" }, { body: ["name"] }]) {
    expect(storedArchive(end(answer))).toBeUndefined();
  }
  expect(itemResults({ items: [{ pattern: 5 }, null] }, "pattern")).toEqual([
    { path: "5", code: Number.NaN, word: "" },
    { path: "", code: Number.NaN, word: "" },
  ]);
});

test("output is UTF-8 though cut within a character, else as Western consoles write", () => {
  const utf8 = new TextEncoder().encode("Größe\r\r\n\r\r\nok\r\n€");
  expect(decodeOutput(utf8)).toBe("Größe\n\nok\n€");
  expect(decodeOutput(utf8.subarray(0, -1))).toBe("Größe\n\nok\n");
  expect(decodeOutput(Uint8Array.of(0x47, 0x72, 0x94, 0xe1, 0x65, 0x80, 0xff))).toBe(
    "GrößeÇ\u00a0",
  );
});

test("an address names a machine and its view, and a strange one is the shell", () => {
  expect(readRoute(hashOf("a/b #1", "events"))).toEqual({ machineId: "a/b #1", view: "events" });
  for (const strange of ["", "#", "#/%ff/nothing", "#//"]) {
    expect(readRoute(strange)).toEqual({ machineId: undefined, view: "shell" });
  }
});
