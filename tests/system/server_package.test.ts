import { execFileSync, spawn, spawnSync } from "node:child_process";
import { once } from "node:events";
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { expect, onTestFinished, test } from "vitest";
import { firstLine } from "../support/first_line.ts";

test("the packed server is installed without a network, serves the page and stops in order", async () => {
  const dir = mkdtempSync(join(tmpdir(), "remote-access-"));
  onTestFinished(() => rmSync(dir, { recursive: true }));
  const packed = execFileSync("management/pack", [dir], { encoding: "utf8" }).trim();
  const npm = ["install", "--global", "--offline", "--prefix", dir, packed];
  // Neither what is fetched already nor what npm is told elsewhere helps it.
  execFileSync("npm", [...npm, "--cache", join(dir, "cache")], { stdio: "pipe" });
  const program = join(dir, "bin/remote-access-server");
  const version = /-([\d.]+)\.tgz$/.exec(packed)?.[1];
  expect(execFileSync(program, ["--version"], { encoding: "utf8" })).toBe(`${version}\n`);
  const wrong = spawnSync(program, ["--no-such-option"], { encoding: "utf8" });
  expect([wrong.status, wrong.stdout]).toEqual([2, ""]);
  expect(wrong.stderr).toMatch(/^.*--no-such-option.*try --help\n$/);

  const server = spawn(program, ["--data", join(dir, "data"), "--port", "0"], {
    env: { ...process.env, REMOTE_ACCESS_TOKEN: "t", REMOTE_ACCESS_ENROLMENT_KEY: "k" },
    cwd: dir,
    stdio: ["ignore", "pipe", "ignore"],
  });
  onTestFinished(() => void server.kill("SIGKILL"));
  const [, address = ""] = await firstLine(server, /^Listening on (http:\S+)$/);
  expect(await (await fetch(`${address}/healthz`)).json()).toEqual({ status: "ok" });
  expect(await (await fetch(address)).text()).toContain("Sign in");
  const signedIn = await fetch(`${address}/?token=t`, { redirect: "manual" });
  const cookie = signedIn.headers.get("set-cookie") ?? "";
  const page = await (await fetch(address, { headers: { cookie } })).text();
  const [script] = /\/assets\/[^"]*\.js/.exec(page) ?? [];
  expect((await fetch(`${address}${script}`)).status).toBe(200);
  server.kill("SIGTERM");
  expect(await once(server, "exit")).toEqual([0, null]);
  const audit = readFileSync(join(dir, "data/audit.log"), "utf8").trimEnd().split("\n");
  expect(audit.at(-1)).toContain("serverStop");

  const installed = join(dir, "lib/node_modules/remote-access-server");
  expect(readdirSync(join(installed, "licences")).join()).toMatch(/fastify-5.*preact-11.*zod-4/);
  if (!existsSync("/usr/bin/systemd-analyze")) return;
  const unit = readFileSync(join(installed, "packaging/remote-access-server.service"), "utf8");
  const here = unit.replace("ExecStart=", `ExecStart=${join(dir, "bin")}/`);
  writeFileSync(join(dir, "remote-access-server.service"), here);
  const verify = ["verify", join(dir, "remote-access-server.service")];
  expect(spawnSync("systemd-analyze", verify, { encoding: "utf8" })).toMatchObject({
    status: 0,
    stderr: "",
  });
});
