import { expect, test } from "vitest";
import { moment } from "../words";
import { describeAction, describeResult, describeWho } from "../words_of_audit";
import { describeRecord } from "../words_of_history";
import { type AuditEntry, withoutBegun } from "./audit";
import { PagedList, type Portion } from "./paged_list";

interface Row {
  key: number;
  text: string;
}

// A log of rows 1 to `size` that gives two at a time.
class Log {
  size: number;
  text = "";
  fails = false;
  readonly list = new PagedList<Row>(
    async (before) => this.#portion(before),
    ({ key }) => key,
  );

  constructor(size: number) {
    this.size = size;
  }

  #portion(before = this.size + 1): Portion<Row> {
    if (this.fails) throw new Error("no");
    const items = [before - 1, before - 2].filter((key) => key > 0);
    const next = before > 3 ? before - 2 : null;
    return { items: items.map((key) => ({ key, text: this.text })), next, total: this.size };
  }

  get keys(): number[] {
    return this.list.items.value.map(({ key }) => key);
  }
}

test("a list keeps what it knows while newer and older rows come, and begins anew where they do not meet", async () => {
  const log = new Log(5);
  expect(await log.list.refresh()).toBe(2);
  await log.list.older();
  log.size = 6;
  expect(await log.list.refresh()).toBe(1);
  expect(log.keys).toEqual([6, 5, 4, 3, 2]);
  await log.list.older();
  await log.list.older();
  expect([log.keys, log.list.next.value]).toEqual([[6, 5, 4, 3, 2, 1], null]);
  log.fails = true;
  expect(await log.list.refresh()).toBeUndefined();
  expect([log.keys.length, log.list.problem.value?.text]).toEqual([6, expect.any(String)]);
  log.fails = false;

  // More has come than one portion holds; then another log stands in its place, with numbers of its own.
  log.size = 9;
  expect(await log.list.refresh()).toBe(2);
  expect([log.keys, log.list.next.value]).toEqual([[9, 8], 8]);
  log.text = "another";
  await log.list.refresh();
  expect(log.list.items.value[0]).toEqual({ key: 9, text: "another" });

  // What is asked for while it is looked at is looked at afterwards.
  const first = log.list.refresh();
  log.size = 10;
  await Promise.all([log.list.refresh(), first]);
  expect(log.keys).toEqual([10, 9, 8]);
  const older = log.list.older();
  log.size = 11;
  await Promise.all([log.list.refresh(), older]);
  expect(log.keys).toEqual([11, 10, 9, 8, 7, 6]);
});

test("a machine's records are in its words; what is strange is told by names and numbers, and breaks nothing", () => {
  const values = { 0: "0", 1: "0", 2: "1800000000", 3: "1800000340" };
  const record = { sequence: 1, time: 0, feature: "RemoteAccess", values };
  const [start, end] = [moment(1_800_000_000_000), moment(1_800_000_340_000)];
  expect(describeRecord(record)).toMatchObject({
    title: "Administrator ended a remote shell connection",
    details: `Session Started: ${start}. Session Ended: ${end}.`,
  });
  const unknown = { ...record, values: { 0: "0", 2: "0", 3: "x" } };
  expect(describeRecord(unknown).details).toMatch(
    /^Session Started: not known.*Ended: not known\.$/,
  );
  const removed = { ...record, feature: "History", values: { 0: "3" } };
  expect(describeRecord(removed)).toMatchObject({ tone: "warn", details: "" });
  const strange = { ...record, feature: "Firewall", values: { 0: "17", 1: "2", 5: "<b>" } };
  expect(describeRecord(strange)).toMatchObject({
    title: "Firewall, event 17",
    details: "1: 2, 5: <b>",
  });
  for (const values of [null, 7, [], { 0: "__proto__" }]) {
    for (const feature of ["", "History"]) describeRecord({ ...record, feature, values });
  }
});

test("an action is told with its names and its result, once, and a strange one as it is", () => {
  const entry = (action: string, details: unknown, result?: unknown, began?: number) =>
    ({ seq: 1, who: "token", action, details, result, began }) as AuditEntry;
  const paths = { method: "StartUploadArchive", paths: ["C:\\a", "C:\\b"], pathsInAll: 12 };
  const fetched = entry("policy", paths, { ok: false, http: 200, code: 1260 });
  expect(describeAction(fetched)).toEqual({
    text: "Started fetching files",
    names: "C:\\a, C:\\b and 10 more",
  });
  expect(describeResult(fetched)).toMatchObject({ tone: "bad", problem: { code: 1260 } });
  const ended = entry("terminalEnd", {}, { ok: true, reason: "inactivity", ms: 61_000 });
  expect(describeResult(ended).text).toBe("Closed for inactivity, 1 min 1 s");
  const refused = entry(
    "refused",
    { tried: "GET /x" },
    { ok: false, http: 401, error: "unauthorized" },
  );
  expect(describeResult(refused)).toMatchObject({ text: "Refused", problem: { text: /token/ } });
  expect(describeResult(entry("call", {}))).toEqual({ text: "Under way", tone: "calm" });
  for (const strange of ["constructor", "toString", "", "new"]) {
    expect(describeAction(entry(strange, null)).text).toBe(strange);
    expect(describeWho(strange)).toBe(strange);
    describeResult(entry(strange, null, { ok: false, error: strange, reason: strange }));
  }
  const under = { ...entry("call", {}), seq: 7 };
  const end = { ...entry("call", {}, { ok: true }, 7), seq: 9 };
  expect(withoutBegun([end, under])).toEqual([end]);
  expect(withoutBegun([under])).toEqual([under]);
});
