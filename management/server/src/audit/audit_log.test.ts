import {
  appendFileSync,
  readdirSync,
  readFileSync,
  renameSync,
  statSync,
  writeFileSync,
} from "node:fs";
import { join } from "node:path";
import { expect, test } from "vitest";
import { temporaryFolder } from "../testing/temporary_folder.ts";
import type { AuditEntry } from "./audit_entry.ts";
import { AuditLog, type AuditLogOptions } from "./audit_log.ts";
import { namesOfInput } from "./names_of_input.ts";
import { RefusedAttempts } from "./refused_attempts.ts";

function optionsIn(more: Partial<AuditLogOptions> = {}): AuditLogOptions & { problems: unknown[] } {
  const problems: unknown[] = [];
  const path = join(temporaryFolder(), "audit.log");
  const onError = (error: unknown) => problems.push(error);
  return { path, maxBytes: 1e6, maxFiles: 20, underWayMs: 60_000, onError, problems, ...more };
}

async function opened(options: AuditLogOptions): Promise<AuditLog> {
  const log = await AuditLog.open(options);
  log.started();
  return log;
}

const call = (method: string, machine = "machine-0001") =>
  ({ who: "token", from: "::1", action: "call", machine, details: { method } }) as const;

async function allOf(log: AuditLog, query = {}): Promise<AuditEntry[]> {
  const entries: AuditEntry[] = [];
  for (let before: number | undefined; ; ) {
    const page = await log.read({ limit: 7, before, ...query });
    entries.push(...page.entries);
    if (page.next === null) return entries;
    before = page.next;
  }
}

const numbers = (entries: AuditEntry[]) => entries.map(({ seq }) => seq);
const countdown = (from: number, to = 1) =>
  Array.from({ length: from - to + 1 }, (_, index) => from - index);

test("entries stand once and in order across files that are set aside, whoever reads meanwhile", async () => {
  const options = optionsIn({ maxBytes: 4096, maxFiles: 1000 });
  const log = await opened(options);
  const reading = [];
  for (let i = 2; i <= 500; i++) {
    log.record(call(`m${i}`, i % 50 === 0 ? "rare" : "usual"));
    if (i % 20 === 0) reading.push(allOf(log));
  }
  for (const entries of await Promise.all(reading)) {
    expect(numbers(entries)).toEqual(countdown(entries[0]?.seq ?? 0));
  }
  expect(numbers(await allOf(log))).toEqual(countdown(500));
  const rare = await allOf(log, { machine: "rare" });
  expect(numbers(rare)).toEqual(countdown(10).map((each) => each * 50));
  expect(await log.read({ limit: 5, actions: ["serverStart"] })).toMatchObject({
    entries: [{ seq: 1, who: "server" }],
    next: null,
  });
  await log.close();

  const dir = join(options.path, "..");
  const names = readdirSync(dir);
  expect(names.length).toBeGreaterThan(10);
  for (const name of names) {
    expect(statSync(join(dir, name)).size).toBeLessThanOrEqual(4096);
    expect(statSync(join(dir, name)).mode & 0o777).toBe(0o600);
    const [first] = readFileSync(join(dir, name), "utf8").split("\n");
    if (name !== "audit.log") expect(JSON.parse(first ?? "").seq).toBe(Number(name.slice(6, 18)));
  }
  // Fewer files than there are: the oldest go with the next that is set aside.
  const next = await opened({ ...options, maxFiles: 2 });
  for (let i = 0; i < 50; i++) next.record(call("more"));
  const kept = await allOf(next);
  expect(numbers(kept)).toEqual(countdown(552, kept.at(-1)?.seq));
  expect(readdirSync(dir)).toHaveLength(3);
  await next.close();
});

test("after a crash at any moment the log goes on where it was", async () => {
  const options = optionsIn({ maxBytes: 4096 });
  const { path } = options;
  let log = await opened(options);
  for (let i = 0; i < 30; i++) log.record(call("before"));
  const last = (await log.read({ limit: 1 })).entries[0]?.seq ?? 0;
  await log.close();

  // Between setting aside and the new file; nobody said that the server has stopped.
  const text = readFileSync(path, "utf8").trimEnd().split("\n").slice(0, -1).join("\n");
  const first = JSON.parse(text.split("\n")[0] ?? "").seq;
  writeFileSync(path, `${text}\n`);
  renameSync(path, path.replace(".log", `-${String(first).padStart(12, "0")}.log`));
  log = await opened(options);
  expect((await log.read({ limit: 1 })).entries).toMatchObject([
    { seq: last + 1, action: "serverStart", details: { afterUnexpectedEnd: true } },
  ]);
  await log.close();

  // Within a line, after lines that were written twice: they count once, and what is no whole line does not count.
  appendFileSync(path, `${readFileSync(path, "utf8")}{"seq":99,"at":"20`);
  log = await opened(options);
  expect(numbers(await allOf(log))).toEqual(countdown(last + 3));
  await log.close();

  // Damaged through and through: set aside, nothing is written over.
  writeFileSync(path, "x".repeat(200_000));
  log = await opened(options);
  await log.close();
  expect(String(options.problems)).toMatch(/Nothing in .* can be read/);
  const names = readdirSync(join(path, ".."));
  expect(names.filter((name) => /^audit\.log\.damaged-\w+$/.test(name))).toHaveLength(1);
});

test("what takes long is told twice, and what a stop cuts off has an end", async () => {
  const log = await opened(optionsIn({ underWayMs: 5 }));
  const long = log.begin(call("long"));
  const entries = async (action = "call") =>
    (await log.read({ limit: 10 })).entries.filter((entry) => entry.action === action);
  while ((await entries()).length === 0) await new Promise((resolve) => setTimeout(resolve, 5));
  expect((await entries())[0]).not.toHaveProperty("result");
  long.end({ ok: false, code: 5 });
  long.end({ ok: true });
  const [end, begin] = await entries();
  expect(end).toMatchObject({
    began: begin?.seq,
    details: { method: "long" },
    result: { code: 5 },
  });
  expect((await log.read({ limit: 10, failed: true })).entries).toEqual([end]);

  log.begin(call("cut"));
  const attempts = new RefusedAttempts(log);
  for (let i = 0; i < 105; i++) attempts.signInRefused("203.0.113.9");
  attempts.close();
  expect(await entries("signInRefused")).toHaveLength(5);
  expect((await entries("refused"))[0]).toMatchObject({ details: { further: 100 } });
  await log.close();
  const { entries: last } = await log.read({ limit: 2 });
  expect(last).toMatchObject([{ action: "serverStop" }, { result: { error: "server_stopped" } }]);
});

test("of a call's input the names that matter are kept, and no secret", () => {
  const names = (method: string, input: unknown) => namesOfInput(method, JSON.stringify(input));
  const command = { commandLine: '"C:\\a b\\net.exe" use /user:x hunter2' };
  expect(names("StartProcess", { execute: command })).toEqual({ program: "C:\\a b\\net.exe" });
  const user = `u:${"hunter2".repeat(99)}`;
  const items = [{ sourceUri: `https://${user}@host/a.zip?sig=hunter2`, to: "C:\\a\u202e" }];
  expect(names("StartDownload", { items, jobId: "j", password: "hunter2" })).toEqual({
    files: ["https://host/a.zip"],
    paths: ["C:\\a\uFFFD"],
    job: "j",
  });
  const many = Array.from({ length: 12 }, () => ({ pattern: "C:\\x" }));
  expect(names("StartUploadArchive", { items: many, name: 7 })).toMatchObject({ pathsInAll: 12 });
  for (const input of [null, [], { items: {}, execute: 1 }]) names("StartProcess", input);
  expect(names("constructor", { secret: 1 })).toEqual({});
});
