import { execFileSync } from "node:child_process";
import {
  chmodSync,
  existsSync,
  mkdirSync,
  readdirSync,
  readFileSync,
  readlinkSync,
  symlinkSync,
  truncateSync,
  writeFileSync,
} from "node:fs";
import { join } from "node:path";
import { path7za } from "7zip-bin";
import { expect, test } from "vitest";
import { formOf, RawRequest } from "../testing/requests.ts";
import { bearer, KEY, TestServer } from "../testing/running_server.ts";
import { Profile } from "./profile.ts";

const agent = { authorization: `Bearer ${KEY}`, "x-machine-id": "machine-0001" };
const put = (server: TestServer, path: string, body: RequestInit["body"]) =>
  server.fetch(`/api/storage/${path}`, { method: "PUT", body: body ?? null });
const get = (server: TestServer, path: string, headers: Record<string, string> = {}) =>
  server.fetch(`/api/storage/${path}`, { headers: { ...bearer, ...headers } });
const post = (server: TestServer, body: FormData, profile = "default") =>
  server.fetch(`/api/agent/storage/${profile}`, { method: "POST", headers: agent, body });
const stored = (server: TestServer, profile = "default") =>
  readdirSync(join(server.dir, "data/storage", profile)).sort();
// biome-ignore lint/suspicious/noExplicitAny: tests look into data of any shape.
const json = (response: Response): Promise<any> => response.json();
const outcome = async (response: Response) => {
  // Exactly this, also for errors, so that a machine hands the body on as a value and not as a text.
  expect(response.headers.get("content-type")).toBe("application/json");
  return [response.status, (await json(response)).error];
};

test("a file keeps its name at both doors, and names that look the same are the same", async () => {
  const server = await TestServer.start();
  const path = `default/${encodeURIComponent("Bericht für “uns” (1) 100% 'ü'.txt")}`;
  await put(server, path, "x");
  for (const response of [
    await get(server, path),
    await server.fetch(`/api/agent/storage/${path}`, { headers: agent }),
  ]) {
    expect(response.headers.get("content-disposition")).toBe(
      "attachment; filename=\"Bericht f_r _uns_ (1) 100_ '_'.txt\"; " +
        "filename*=UTF-8''Bericht%20f%C3%BCr%20%E2%80%9Cuns%E2%80%9D%20%281%29%20100%25%20%27%C3%BC%27.txt",
    );
  }
  await put(server, `default/${encodeURIComponent("e\u0301")}`, "1");
  const odd = { method: "PUT", headers: { ...bearer, "content-type": ";no type" }, body: "" };
  expect((await server.fetch("/api/storage/default/%C3%A9", odd)).status).toBe(201);
  expect(await json(await get(server, "default"))).toMatchObject([{}, { name: "é", size: 0 }]);
  const remove = () => server.fetch("/api/storage/default/%C3%A9", { method: "DELETE" });
  expect((await remove()).status).toBe(204);
  for (const response of [await remove(), await get(server, "nowhere/x")]) {
    expect(await outcome(response)).toEqual([404, "not_found"]);
  }
});

test("no door to the storage opens without its own key", async () => {
  const server = await TestServer.start();
  for (const [status, path, method, headers] of [
    [401, "/api/storage/default", "GET", agent],
    [401, "/api/storage/default/a", "PUT", agent],
    [401, "/api/agent/storage/default/a", "GET", { ...agent, ...bearer }],
    [401, "/api/agent/storage/default", "POST", {}],
    [400, "/api/agent/storage/default/a", "GET", { authorization: agent.authorization }],
  ] as const) {
    const response = await server.fetch(path, { method, headers });
    expect(response.status, `${method} ${path}`).toBe(status);
  }
});

test("a name that could mean more than a file of the profile is refused at every door", async () => {
  const server = await TestServer.start();
  writeFileSync(join(server.dir, "data/storage/secret"), "secret");
  mkdirSync(join(server.dir, "data/storage/default/folder"));
  symlinkSync("../secret", join(server.dir, "data/storage/default/link"));
  const hostile = [
    ..."..|../secret|..\\secret|a/../../secret|/etc/passwd|C:\\x|C:x|a:stream|a::$DATA".split("|"),
    ..."CON|nul.txt|Com1.tar.gz|LPT¹|aux .txt|conin$|.hidden|.partial-1|blank |stop.".split("|"),
    ...["", "a\u0000b", "a\nb", "a\u0085", "a*", "a?", "a<b", 'a"b', "a|b", "ü".repeat(101)],
  ];
  for (const name of hostile) {
    const encoded = encodeURIComponent(name);
    // fetch itself takes dots for a folder.
    for (const method of name === ".." ? [] : ["PUT", "GET", "DELETE"]) {
      const response = await server.fetch(`/api/storage/default/${encoded}`, { method });
      expect([name, ...(await outcome(response))]).toEqual([name, 400, "bad_name"]);
    }
    const sent = await post(server, formOf({ key: `${name}` }, "x", "file.txt"));
    expect([name, ...(await outcome(sent))]).toEqual([name, 400, "bad_name"]);
  }
  for (const target of ["/default/../secret", "/default/%2e%2e%2fsecret", "/%2e%2e/x"]) {
    const raw = new RawRequest(server.url, [
      `GET /api/storage${target} HTTP/1.1`,
      `Authorization: ${bearer.authorization}`,
      "Connection: close",
    ]);
    expect(await raw.answer).toMatch(/^HTTP\/1.1 40[04] /);
  }
  for (const name of ["link", "folder"]) {
    expect(await outcome(await get(server, `default/${name}`)), name).toEqual([404, "not_found"]);
  }
  expect(await outcome(await put(server, "default/folder", "x"))).toEqual([409, "name_taken"]);
  expect(await outcome(await put(server, "default/%ff", "x"))).toEqual([400, "bad_request"]);
  // By hand, in another form of Unicode than the storage's: nobody could fetch it.
  writeFileSync(join(server.dir, "data/storage/default/e\u0301"), "");
  expect(await (await get(server, "default")).json()).toEqual([]);
  expect(stored(server)).toEqual(["e\u0301", "folder", "link"]);
  for (const name of ["com10", "console.txt", "a..b", "100% ok", "ü".repeat(100), "a.b.c", "-x"]) {
    const response = await put(server, `default/${encodeURIComponent(name)}`, "x");
    expect(response.status, name).toBe(201);
  }
});

test("limits hold while a file comes in, and a transfer that ends early leaves nothing", async () => {
  const server = await TestServer.start();
  const chunked = (size: number) => {
    const body = new Blob([Buffer.alloc(size)]).stream();
    return { method: "PUT", body, duplex: "half" } as RequestInit;
  };
  expect((await put(server, "small/exact", "x".repeat(1000))).status).toBe(201);
  expect(await outcome(await put(server, "small/a", "x".repeat(1001)))).toEqual([413, "too_large"]);
  expect((await server.fetch("/api/storage/small/b", chunked(1001))).status).toBe(413);
  expect((await server.fetch("/api/storage/small/c", chunked(1000))).status).toBe(201);
  const form = await post(server, formOf({}, "x".repeat(1001), "d"), "small");
  expect(await outcome(form)).toEqual([413, "too_large"]);
  expect(stored(server, "small")).toEqual(["c", "exact"]);

  const arriving = (count: number) =>
    expect.poll(() => stored(server).length, { timeout: 60_000 }).toBe(count);
  const putting = ["PUT /api/storage/default/a HTTP/1.1", `Authorization: ${bearer.authorization}`];
  const posting = [
    "POST /api/agent/storage/default HTTP/1.1",
    `Authorization: Bearer ${KEY}`,
    "X-Machine-Id: machine-0001",
    "Content-Type: multipart/form-data; boundary=b",
  ];
  const partHead = '--b\r\nContent-Disposition: form-data; name="file"; filename="a"\r\n\r\n';
  for (const head of [putting, posting]) {
    const raw = new RawRequest(server.url, [...head, "Content-Length: 5000"]);
    raw.socket.write(`${head === posting ? partHead : ""}the beginning`);
    await arriving(1);
    raw.socket.destroy();
    await arriving(0);
  }
  // A form that breaks off although its request is whole.
  const cut = `${partHead}the beginning`;
  const whole = [`Content-Length: ${cut.length}`, "Connection: close"];
  const raw = new RawRequest(server.url, [...posting, ...whole]);
  raw.socket.write(cut);
  expect(await raw.answer).toMatch(/^HTTP\/1.1 400 /);
  expect(stored(server)).toEqual([]);

  await server.stop();
  writeFileSync(join(server.dir, "data/storage/default/.partial-of-a-crash"), "x");
  await server.start({ transferIdleMs: 50 });
  expect(stored(server)).toEqual([]);
  const signIn = ["POST /sign-in HTTP/1.1", "Content-Type: application/x-www-form-urlencoded"];
  for (const head of [putting, posting, signIn]) {
    await new RawRequest(server.url, [...head, "Content-Length: 5"]).answer;
  }
  await arriving(0);
});

test("a disk that is full refuses the file and keeps nothing of it", async () => {
  const server = await TestServer.start();
  const dir = join(server.dir, "data/storage/default");
  const chunks = (async function* () {
    yield Buffer.from("the beginning");
    throw Object.assign(new Error("write"), { code: "ENOSPC" });
  })();
  const profile = new Profile(dir, { name: "default", maxSize: 100 });
  const storing = profile.store("a", { chunks, replace: true, onBytes: () => {} });
  await expect(storing).rejects.toMatchObject({ status: 507, word: "no_space" });
  expect(stored(server)).toEqual([]);
});

test("a file that machines send gets a name of its own, also when many come at once", async () => {
  const server = await TestServer.start();
  await put(server, "default/Säge.tar.gz", "first");
  const names = await Promise.all(
    Array.from({ length: 8 }, async (_, i) => {
      const response = await post(server, formOf({ a: "b", key: "Säge.tar.gz" }, `${i}`, "x"));
      expect(response.headers.get("content-type")).toBe("application/json");
      const { name, size } = await json(response);
      expect([response.status, size]).toEqual([201, 1]);
      expect(readFileSync(join(server.dir, "data/storage/default", name), "utf8")).toBe(`${i}`);
      return name;
    }),
  );
  const expected = [2, 3, 4, 5, 6, 7, 8, 9].map((n) => `Säge.tar (${n}).gz`);
  expect(names.sort()).toEqual(expected);
  expect(readFileSync(join(server.dir, "data/storage/default/Säge.tar.gz"), "utf8")).toBe("first");

  const nameOf = async (form: FormData) => (await json(await post(server, form))).name;
  expect(await nameOf(formOf({}, "x", "ü$&.zip"))).toBe("ü$&.zip");
  expect(await nameOf(formOf({ key: "for-$" + "{filename}" }, "x", "ü$&.zip"))).toBe("for-ü$&.zip");
  const long = `${"ü".repeat(98)}.zip`;
  expect(await nameOf(formOf({}, "x", long))).toBe(long);
  expect(await nameOf(formOf({}, "x", long))).toBe(`${"ü".repeat(96)} (2).zip`);
  // As long as a name may be, and no extension.
  for (const _ of [1, 2]) await nameOf(formOf({}, "x", `a.${"x".repeat(198)}`));
  const none = new FormData();
  none.append("file", "a field, not a file");
  const two = formOf({}, "x", "one");
  two.append("file", new Blob(["x"]), "two");
  const fields = formOf(Object.fromEntries(Array(1001).fill("x").entries()), "x", "many");
  for (const form of [none, two, fields, "text", new URLSearchParams("file=x")]) {
    const init = { method: "POST", headers: agent, body: form };
    const refused = await server.fetch("/api/agent/storage/default", init);
    expect(await outcome(refused)).toEqual([400, "bad_request"]);
  }
  const bomb = formOf({ key: `$\{filename}`.repeat(5900) }, "x", "n".repeat(70_000));
  expect(await outcome(await post(server, bomb))).toEqual([400, "bad_name"]);
  expect(stored(server).filter((name) => /^(one|two|many)|partial/.test(name))).toEqual([]);
});

test("a download goes on where it broke off, but not within another file", async () => {
  const server = await TestServer.start();
  await put(server, "default/a", "0123456789");
  const range = async (header: string, more = {}) => {
    const headers = { ...agent, range: header, ...more };
    const response = await server.fetch("/api/agent/storage/default/a", { headers });
    return [response.status, response.headers.get("content-range"), await response.text()];
  };
  const head = await server.fetch("/api/storage/default/a", { method: "HEAD" });
  expect([head.status, head.headers.get("content-length")]).toEqual([200, "10"]);
  const same = { "if-range": head.headers.get("etag") };
  expect(await range("bytes=4-", same)).toEqual([206, "bytes 4-9/10", "456789"]);
  expect(await range("bytes=2-3")).toEqual([206, "bytes 2-3/10", "23"]);
  expect(await range("bytes=-3")).toEqual([206, "bytes 7-9/10", "789"]);
  expect(await range("bytes=9-100")).toEqual([206, "bytes 9-9/10", "9"]);
  expect(await range("bytes=10-")).toEqual([416, "bytes */10", ""]);
  for (const odd of ["bytes=5-4", "bytes=-", "bytes=1-2,4-5", "bytes=x-"]) {
    expect(await range(odd), odd).toEqual([200, null, "0123456789"]);
  }
  await put(server, "default/a", "abcdefghij");
  expect(await range("bytes=4-", same)).toEqual([200, null, "abcdefghij"]);
});

test("an archive is unpacked only as far as its reader reads, and not at all where it cannot be", async () => {
  const server = await TestServer.start();
  const folder = join(server.dir, "data/storage/default");
  const archive = join(folder, "bomb.zip");
  const size = 256 * 1024 * 1024;
  writeFileSync(join(server.dir, "x"), "");
  truncateSync(join(server.dir, "x"), size);
  chmodSync(path7za, 0o755); // Its package comes without that.
  execFileSync(path7za, ["a", "-tzip", "-mx1", archive, join(server.dir, "x")]);
  const locked = join(folder, "locked.zip");
  execFileSync(path7za, ["a", "-tzip", "-pword", locked, join(server.dir, "web/index.html")]);
  writeFileSync(join(folder, "cut.zip"), readFileSync(archive).subarray(0, -5));
  for (const [query, status, word] of [
    ["bomb.zip?entry=", 404, "not_found"],
    ["bomb.zip?entry=a&entry=b", 400, "bad_request"],
    ["locked.zip?entry=index.html", 400, "encrypted"],
    ["cut.zip?entry=x", 400, "not_an_archive"],
  ] as const) {
    expect(await outcome(await get(server, `default/${query}`)), query).toEqual([status, word]);
  }

  const path = "/api/storage/default/bomb.zip?entry=x";
  const isOpen = () => {
    const open = readdirSync("/proc/self/fd").map((fd) => join("/proc/self/fd", fd));
    // One of them was the list's own, and is gone.
    return open.filter(existsSync).some((link) => readlinkSync(link) === archive);
  };
  const gone = new AbortController();
  const { body } = await server.fetch(path, { headers: bearer, signal: gone.signal });
  await body?.getReader().read();
  expect(isOpen()).toBe(true);
  gone.abort();
  await expect.poll(isOpen, { timeout: 60_000 }).toBe(false);
  const head = await server.fetch(path, { method: "HEAD" });
  expect(head.headers.get("content-length")).toBe(`${size}`);
  await expect.poll(isOpen, { timeout: 60_000 }).toBe(false);
});
