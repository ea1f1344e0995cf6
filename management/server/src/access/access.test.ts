import { readFileSync } from "node:fs";
import { join } from "node:path";
import { expect, test } from "vitest";
import { openSocket } from "../testing/peer.ts";
import { bearer, TestServer, TOKEN } from "../testing/running_server.ts";

const refusal = (status: number, error: string) =>
  expect.objectContaining({ status, body: expect.objectContaining({ error }) });

async function signIn(server: TestServer): Promise<{ cookie: string }> {
  const response = await server.fetch(`/?token=${TOKEN}`, { headers: {} });
  expect([response.status, response.headers.get("location")]).toEqual([303, "/"]);
  const header = response.headers.get("set-cookie") ?? "";
  expect(header).toMatch(/; HttpOnly; SameSite=Strict/);
  expect(header).not.toContain(TOKEN);
  return { cookie: header.split(";", 1)[0] ?? "" };
}

test("nobody gets past any door without the token", async () => {
  const server = await TestServer.start();
  await server.agent();
  const session = await signIn(server);
  for (const headers of [
    {},
    { authorization: `Basic ${TOKEN}` },
    { cookie: `remote_access_session=${TOKEN}` },
    { authorization: "Bearer wrong", ...session },
  ]) {
    for (const [path, method] of [
      ["/api/machines", "GET"],
      ["/api/machines/machine-0001/events", "GET"],
      ["/api/machines/machine-0001/rpc/OpenTerminal", "POST"],
    ] as const) {
      expect((await server.fetch(path, { method, headers })).status, path).toBe(401);
    }
    const terminal = openSocket(`${server.url}/api/machines/machine-0001/terminal`, headers);
    await expect(terminal).rejects.toEqual(refusal(401, "unauthorized"));
  }
  expect(await (await server.fetch("/", { headers: {} })).text()).toContain('"asking"');
  const wrong = await server.fetch("/?token=wrong", { headers: {} });
  expect(wrong.status).toBe(401);
  expect(await wrong.text()).toContain('"refused"');
  expect(wrong.headers.get("set-cookie")).toBeNull();
});

test("a session works in the page's own origin only, and ends with the sign-out", async () => {
  const server = await TestServer.start();
  await server.agent();
  const session = await signIn(server);
  const own = { ...session, origin: server.url };
  const rpc = "/api/machines/machine-0001/rpc/GetCurrentPath";
  const post = async (path: string, headers: Record<string, string>) =>
    (await server.fetch(path, { method: "POST", headers })).status;
  const get = async (path: string) => await server.fetch(path, { headers: session });
  const terminal = (headers: Record<string, string>) =>
    openSocket(`${server.url}/api/machines/machine-0001/terminal`, headers);

  expect(await (await get("/")).text()).toBe("the page");
  expect((await get("/api/machines")).status).toBe(200);
  expect(await post(rpc, own)).toBe(200);
  (await terminal(own)).close();
  for (const origin of ["http://evil.example", "null", server.url.replace(/\d+$/, "1"), ""]) {
    expect(await post(rpc, { ...session, origin }), origin).toBe(403);
    expect(await post("/sign-in", { origin })).toBe(403);
    const foreign = refusal(403, "forbidden_origin");
    for (const identity of [session, bearer]) {
      await expect(terminal({ ...identity, origin })).rejects.toEqual(foreign);
    }
  }
  for (const path of [rpc, "/sign-out"]) expect(await post(path, session)).toBe(403);
  expect(await post("/sign-out", own)).toBe(303);
  expect((await get("/api/machines")).status).toBe(401);
});

test("a session outlives a restart, and no secret is in the log or in any file", async () => {
  const server = await TestServer.start();
  const session = await signIn(server);
  const form = new URLSearchParams({ token: TOKEN });
  const signedIn = await server.fetch("/sign-in", { method: "POST", headers: {}, body: form });
  expect(signedIn.status).toBe(303);
  await openSocket(`${server.url}/api/machines/x/terminal?token=${TOKEN}`, {}).catch(() => {});
  await server.stop();
  await server.start();
  expect((await server.fetch("/api/machines", { headers: session })).status).toBe(200);
  await server.stop();
  const id = session.cookie.split("=")[1] ?? "";
  const files = ["audit.log", "sessions.json"].map((name) =>
    readFileSync(join(server.dir, "data", name), "utf8"),
  );
  expect(files[0]).toMatch(/"who":"session \w{8}","from":"127.0.0.1","action":"signIn"/);
  for (const text of [server.log, ...files]) {
    expect(text).not.toBe("");
    expect(text).not.toContain(TOKEN);
    expect(text).not.toContain(id);
  }
});
