import { expect, test } from "vitest";
import type { AuditEntry } from "../audit/audit_entry.ts";
import { openSocket } from "../testing/peer.ts";
import { bearer, TestServer, TOKEN } from "../testing/running_server.ts";

const id = "machine-0001";

async function auditOf(server: TestServer, query = ""): Promise<AuditEntry[]> {
  const page = await (await server.fetch(`/api/audit?limit=500${query}`)).json();
  return (page as { entries: AuditEntry[] }).entries;
}

/** An entry in one line; of a session's key a sign. */
function lineOf({ who, from, action, machine, details = {}, result }: AuditEntry): string {
  const { ok, http, error, code, bytes } = result ?? {};
  const named = who.replace(/^session \w{8}$/, "session #");
  const what = [named, from, action, machine, ...Object.values(details)].filter(Boolean);
  const end = [ok ? "ok" : "failed", http, error, code, bytes].filter(Boolean);
  return `${what.join(" ")}: ${end.join(" ")}`;
}

test("every action of an administrator is in the audit log with who, from where and its result", async () => {
  const server = await TestServer.start({}, { trustedProxies: ["127.0.0.0/8", "10.0.0.0/8"] });
  const machine = await server.integration();
  machine.onPolicy = () => ({ status: 170 });
  await server.policy("StartProcess", '{"execute":{"commandLine":"cmd /c type hunter2"}}');
  await server.call("Any", "", "?module=M");
  const agent = await server.agent();
  agent.onCall = () => ({ result: 0, code: 5 });
  await server.call("Any");
  await server.call("Any", "", "", "unknown-1");
  await server.call("Any", "x".repeat(1024 * 1024 + 1));
  const file = "/api/storage/default/a.bin";
  const content = Buffer.alloc(3000);
  await server.fetch(file, { method: "PUT", body: content });
  await (await server.fetch(file)).arrayBuffer();
  await server.fetch("/api/storage/small/b", { method: "PUT", body: content });
  await server.fetch(file, { method: "DELETE" });
  await server.fetch(file, { method: "DELETE" });
  const stranger = {
    authorization: "Bearer hunter2",
    "x-forwarded-for": "1.1.1.1, 2.2.2.2,10.9.9.9",
  };
  await server.fetch(`/api/machines/${id}/rpc/Any`, { method: "POST", headers: stranger });
  const asked = { ...bearer, "x-forwarded-for": "not-an-address, fe80::1" };
  await openSocket(`${server.url}/api/machines/unknown-1/terminal`, asked).catch(() => {});
  await server.fetch("/?token=hunter2", { headers: {} });
  const https = { "x-forwarded-proto": "https" };
  const signedIn = await server.fetch(`/?token=${TOKEN}`, { headers: https });
  expect(signedIn.headers.get("set-cookie")).toMatch(/; Secure$/);
  const cookie = signedIn.headers.get("set-cookie")?.split(";")[0] ?? "";
  await server.fetch("/sign-out", { method: "POST", headers: { cookie, origin: server.url } });

  const entries = (await auditOf(server)).reverse();
  expect(entries.map(lineOf)).toEqual([
    "server serverStart: ok",
    `token 127.0.0.1 policy ${id} StartProcess cmd: failed 200 170`,
    `token 127.0.0.1 call ${id} Any M: failed 409 not_connected`,
    `token 127.0.0.1 call ${id} Any RemoteAccess: failed 200 5`,
    "token 127.0.0.1 call unknown-1 Any: failed 404 not_found",
    `token 127.0.0.1 call ${id} Any: failed 413 too_large`,
    "token 127.0.0.1 storagePut default a.bin: ok 201 3000",
    "token 127.0.0.1 storageGet default a.bin: ok 200 3000",
    "token 127.0.0.1 storagePut small b: failed 413 too_large",
    "token 127.0.0.1 storageDelete default a.bin: ok 204",
    "token 127.0.0.1 storageDelete default a.bin: failed 404 not_found",
    `nobody 2.2.2.2 refused ${id} POST /api/machines/${id}/rpc/Any: failed 401 unauthorized`,
    "token fe80::1 terminalOpen unknown-1: failed 404 not_found",
    "nobody 127.0.0.1 signInRefused: failed 401 unauthorized",
    "session # 127.0.0.1 signIn: ok 303",
    "session # 127.0.0.1 signOut: ok 303",
  ]);
  expect(JSON.stringify(entries)).not.toContain("hunter2");

  expect(await auditOf(server, `&machine=${id}&failed`)).toHaveLength(5);
  expect(await auditOf(server, "&who=nobody&action=refused&action=signIn")).toHaveLength(1);
  for (const query of [
    "limit=0",
    "limit=501",
    "before=x",
    "before=0",
    "action=any",
    "limit=1&limit=2",
  ]) {
    expect((await server.fetch(`/api/audit?${query}`)).status, query).toBe(400);
  }
  expect((await server.fetch("/api/audit", { headers: {} })).status).toBe(401);
});

test("a call whose caller does not wait for the answer is in the audit log with it", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  agent.onCall = () => null;
  const impatient = new AbortController();
  const path = `/api/machines/${id}/rpc/Slow`;
  const asking = server.fetch(path, { method: "POST", headers: bearer, signal: impatient.signal });
  const call = await agent.next("rpc");
  impatient.abort();
  await asking.catch(() => {});
  agent.send({ type: "rpcReply", id: call.id, result: 0, code: 7, text: "" });
  let entries: AuditEntry[] = [];
  while (entries.length === 0) entries = await auditOf(server, "&action=call");
  expect(entries).toMatchObject([{ details: { method: "Slow" }, result: { ok: false, code: 7 } }]);
});

const record = (sequence: number, more = {}) => ({
  sequence,
  time: 1_800_000_000,
  feature: "RemoteAccess",
  values: { 0: "0", 1: "0", 2: "1799999000", 3: "1800000000" },
  hash: "0f".repeat(32),
  ...more,
});

test("a machine's own history is handed on if it keeps to its form, and nothing else is", async () => {
  const server = await TestServer.start({ callMs: 300 });
  const path = `/api/machines/${id}/history`;
  const statusOf = async (query = "", machine = path) =>
    (await server.fetch(machine + query)).status;
  expect(await statusOf("", "/api/machines/unknown-1/history")).toBe(404);
  const agent = await server.agent();
  const answer = (answered: unknown, more = {}) => {
    const text = typeof answered === "string" ? answered : JSON.stringify(answered);
    agent.onCall = () => ({ text, ...more });
  };
  const page = { total: 9, records: [record(8, { time: 0, feature: "" }), record(3)] };
  answer({ ...page, more: "left out" });
  expect(await (await server.fetch(`${path}?before=9&limit=2`)).json()).toEqual(page);
  const params = '{"before":9,"limit":2}';
  const call = { module: "History", method: "GetRecords", params };
  expect(await agent.next("rpc")).toMatchObject(call);
  expect(await statusOf("?limit=501")).toBe(400);

  const deep = `{"total":1,"records":${"[".repeat(900)}${"]".repeat(900)}}`;
  const of = (...records: unknown[]) => ({ total: 9, records });
  for (const hostile of [
    "",
    "null",
    deep,
    { total: -1, records: [] },
    { total: 2, records: [record(3)] },
    of(record(3), record(3)),
    of(record(9), record(8), record(7)),
    of(record(0)),
    of(record(1, { time: 1e15 })),
    of(record(1, { feature: "x".repeat(257) })),
    of(record(1, { values: { a: "1" } })),
    of(record(1, { values: { 0: 1 } })),
    of(record(1, { hash: "<b>" })),
  ]) {
    answer(hostile);
    const response = await server.fetch(`${path}?limit=2`);
    expect(response.status, JSON.stringify(hostile)).toBe(502);
    expect(await response.json()).toMatchObject({ error: "bad_answer" });
  }
  answer("", { code: 50 });
  expect(await (await server.fetch(path)).json()).toMatchObject({
    error: "machine_failed",
    code: 50,
  });
  agent.onCall = () => null;
  expect(await statusOf()).toBe(504);
  agent.socket.close();
  await agent.closed;
  expect(await statusOf()).toBe(409);
  const results = (await auditOf(server, "&action=history")).map(({ result }) => result);
  expect(results.at(-2)).toMatchObject({ ok: true, code: 0 });
  expect(results[2]).toMatchObject({ ok: false, http: 502, error: "machine_failed", code: 50 });
});
