import { execFileSync } from "node:child_process";
import { appendFileSync, readFileSync, truncateSync } from "node:fs";
import { userInfo } from "node:os";
import { join } from "node:path";
import { afterAll, beforeAll, expect, test } from "vitest";
import { BareMachine, type Outcome } from "../support/bare_machine.ts";
import { testProgram, windowsPath } from "../support/remote.ts";

let machine: BareMachine;
beforeAll(async () => {
  execFileSync("package/build");
  machine = await BareMachine.start();
});
afterAll(() => machine.stop());

const programs = "Program Files/Tessaro";
const data = "ProgramData/Tessaro";
const uninstallKey = "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessaro";

function unpack(): string {
  const folder = join(machine.folder, "unpacked package");
  execFileSync("bash", ["-c", 'unzip -qo build/package/*-win64.zip -d "$0"', folder]);
  return folder;
}

// One of the package's two commands.
function command(name: string, ...args: string[]): Promise<Outcome> {
  return machine.run(windowsPath(join(unpack(), name)), ...args);
}

async function succeeds(outcome: Promise<Outcome>): Promise<string> {
  const { code, output } = await outcome;
  expect(code, output).toBe(0);
  return output;
}

async function connects(): Promise<string> {
  const { id } = await machine.api.machineThat(({ connected }) => connected);
  return id;
}

async function usesShell(): Promise<void> {
  const shell = await machine.api.shell();
  await shell.echo("installed");
  await shell.close();
}

const historySize = async () => (await machine.api.history())[0]?.sequence ?? 0;

test("the package installs, upgrades in place, and is removed without a trace", async () => {
  const before = await machine.snapshot();
  const install = [
    ...["/server", machine.api.address],
    ...["/key-file", windowsPath(join(machine.folder, "key"))],
  ];

  // What cannot be done changes nothing.
  expect(await command("install.cmd")).toMatchObject({
    code: 2,
    output: expect.stringContaining("/server is needed"),
  });
  expect((await command("install.cmd", "/server", "http://example.org")).code).toBe(2);
  expect((await command("install.cmd", ...install.slice(0, 3), "Z:\\nothing")).code).toBe(2);
  expect((await command("uninstall.cmd")).code).toBe(3);
  truncateSync(join(unpack(), "bin/RemoteAccess.dll"), 1000);
  const setup = windowsPath(join(machine.folder, "unpacked package/bin/TsrSetup.exe"));
  expect(await machine.run(setup, "install", ...install)).toMatchObject({
    code: 6,
    output: expect.stringContaining("RemoteAccess.dll is damaged"),
  });
  expect(machine.exists(programs) || machine.exists(data)).toBe(false);

  await succeeds(command("install.cmd", ...install, "/feature", "on", "/name", "Büro 7"));
  const id = await connects();
  expect((await machine.api.machine()).name).toBe("Büro 7");
  await usesShell();
  const records = await historySize();

  // A file that is in use holds an upgrade up, and what runs goes on.
  const held = "C:\\Program Files\\Tessaro\\README.txt";
  const holder = machine.run(testProgram, "hold", held, "C:\\held");
  await expect.poll(() => machine.exists("held"), { timeout: 60_000 }).toBe(true);
  expect(await command("install.cmd")).toMatchObject({
    code: 1,
    output: expect.stringContaining(`${held} is in use`),
  });
  expect(await connects()).toBe(id);
  await machine.run("cmd", "/c", "del", "C:\\held");
  await holder;

  // So it does when the new version does not start.
  const sums =
    "find . -type f ! -name SHA256SUMS -printf '%P\\n' | xargs -d '\\n' sha256sum >SHA256SUMS";
  const spoil = `sed -i s/@SERVER_URL@/nowhere/ bin/templates/*.in; ${sums}`;
  execFileSync("bash", ["-c", spoil], { cwd: unpack() });
  expect(await machine.run(setup, "install")).toMatchObject({
    code: 1,
    output: expect.stringMatching(/does not start.*Everything is as it was before/s),
  });
  expect(await connects()).toBe(id);
  await usesShell();

  // The window of a user who is signed in is asked to quit.
  const console = machine.run("C:\\Program Files\\Tessaro\\TsrConsole.exe", "/tray");
  const traces = `users/${userInfo().username}/AppData/Local/Tessaro`;
  await expect.poll(() => machine.exists(traces), { timeout: 60_000 }).toBe(true);

  // An upgrade keeps who the machine is, what happened on it and what was changed by hand.
  const configuration = machine.file(`${data}/config/TsrSecurityService.exe.xml`);
  appendFileSync(configuration, "<!-- by hand -->\n");
  await machine.run("reg", "add", uninstallKey, "/v", "DisplayVersion", "/d", "0.9.0", "/f");
  const upgrade = await succeeds(command("install.cmd"));
  expect(upgrade).toContain("Upgrading version 0.9.0");
  expect(upgrade).toContain("TsrConsole.exe has quit");
  await console;
  expect(await connects()).toBe(id);
  await usesShell();
  expect(await historySize()).toBeGreaterThan(records);
  expect(readFileSync(configuration, "utf8")).toContain("by hand");

  // A newer version stays.
  await machine.run("reg", "add", uninstallKey, "/v", "DisplayVersion", "/d", "1.10.0", "/f");
  expect((await command("install.cmd")).code).toBe(7);

  await succeeds(command("uninstall.cmd", "/keep-data"));
  expect(machine.exists(programs)).toBe(false);
  expect(machine.exists(`${data}/config/enrolment-key`)).toBe(true);

  // What is kept makes it the same machine again; the switch is off.
  await succeeds(command("install.cmd"));
  expect(await connects()).toBe(id);
  expect((await machine.api.machine()).enabled).not.toBe(true);

  const installed = "C:\\Program Files\\Tessaro\\TsrSetup.exe";
  await succeeds(machine.run(installed, "uninstall"));
  await expect.poll(() => machine.exists(programs), { timeout: 60_000 }).toBe(false);
  const after = await machine.snapshot();
  expect(after.registry).toEqual(before.registry);
  expect(after.files.filter((path) => !/TsrSetup-[^/]*\.log$/.test(path))).toEqual(before.files);
});
