import { writeFileSync } from "node:fs";
import { join } from "node:path";
import { expect, test } from "vitest";
import { readOptions } from "./options.ts";
import { TestServer } from "./testing/running_server.ts";
import { temporaryFolder } from "./testing/temporary_folder.ts";

test("secrets come from files or the environment, and only the loopback is listened on unless told", () => {
  const dir = temporaryFolder();
  const secret = join(dir, "secret");
  writeFileSync(secret, " from-file \n");
  writeFileSync(join(dir, "empty"), "\n");
  writeFileSync(join(dir, "index.html"), "");
  const given = ["--data", dir, "--web", dir];
  const env = { REMOTE_ACCESS_TOKEN: "t", REMOTE_ACCESS_ENROLMENT_KEY: "k" };
  const plain = { host: "127.0.0.1", port: 8080, token: "t", enrolmentKey: "k" };
  expect(readOptions(given, env)).toMatchObject(plain);
  const files = ["--token-file", secret, "--enrolment-key-file", secret, "--port", "0"];
  expect(readOptions([...given, ...files], env)).toMatchObject({
    port: 0,
    token: "from-file",
    enrolmentKey: "from-file",
    profiles: [{ name: "default", maxSize: 4294967296 }],
  });
  const sizes = ["--audit-size", "5M", "--audit-files", "0"];
  const { audit } = readOptions([...given, ...sizes], env);
  expect(audit).toEqual({ maxBytes: 5_242_880, maxFiles: 0 });
  const two = ["--profile", "a=5", "--profile", "b"];
  expect(readOptions([...given, ...files, ...two], env).profiles).toEqual([
    { name: "a", maxSize: 5 },
    { name: "b", maxSize: 4294967296 },
  ]);
  for (const [args, message] of [
    [["--token", "t", "--enrolment-key-file", join(dir, "empty")], /is empty/],
    [["--port", "70000"], /--port/],
    [["--web", join(dir, "nowhere")], /no page/],
    [[...files, "--profile", "../x"], /--profile/],
    [[...files, "--audit-size", "4095"], /--audit-size/],
    [[...files, "--trusted-proxy", "10.0.0.0/33"], /--trusted-proxy/],
    [[...files, "--profile", "NUL"], /device/],
    [[...files, "--profile", "a", "--profile", "A=5"], /same name/],
  ] as const) {
    expect(() => readOptions([...given, ...args], {})).toThrow(message);
  }
  expect(() => readOptions(["--web", dir], env)).toThrow(/--data/);
});

test("a damaged list of machines stops the start and is left as it is", async () => {
  const server = await TestServer.start();
  await server.agent();
  await server.stop();
  const file = join(server.dir, "data/machines.json");
  writeFileSync(file, '[{"id": 7}]');
  await expect(server.start()).rejects.toThrow(/machines\.json is damaged/);
  writeFileSync(file, "[]");
  await server.start();
  expect(await server.machines()).toEqual([]);
});

test("the server tells everybody that it is well, and no secret", async () => {
  const server = await TestServer.start();
  await server.agent();
  const open = (path: string) => server.fetch(path, { headers: {} });
  expect(await (await open("/healthz")).json()).toEqual({ status: "ok" });
  const metrics = await (await open("/metrics")).text();
  expect(metrics).toMatch(/^remote_access_machines_connected 1$/m);
  expect(metrics).not.toContain("machine-0001");
});
