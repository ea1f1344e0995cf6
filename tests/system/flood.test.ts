import { writeFileSync } from "node:fs";
import { join } from "node:path";
import { expect, inject, test } from "vitest";
import { figures } from "../support/processes.ts";
import { windowsPath } from "../support/remote.ts";
import { sharedApi } from "../support/shared_api.ts";

const api = sharedApi();
const windowBytes = 262_144;

function flood(): string {
  const path = join(inject("data"), "flood.txt");
  writeFileSync(path, `${"0123456789abcdefghijklmnopqrstuvwxyz ".repeat(2)}\r\n`.repeat(700_000));
  return windowsPath(path);
}

test("a flood that nobody reads stops at the window, and others go on", async () => {
  const file = flood();
  const [stalled, other] = [await api.shell(), await api.shell()];
  await stalled.echo("ready");
  await other.echo("ready");
  const before = figures(inject("data")).residentBytes;
  stalled.socket.pause();
  stalled.type(`type "${file}"\r`);
  for (let round = 0; round < 20; round++) await other.echo(`round-${round}`);
  const grown = figures(inject("data")).residentBytes - before;
  expect(grown).toBeLessThan(32 * 1024 * 1024);

  // The reader stays away for longer than a send may wait: the stream is given up, the other is not.
  await api.machineThat((machine) => machine.sessions === 1);
  await other.echo("still-here");
  stalled.socket.resume();
  expect((await stalled.closed).reason).toBe("streamLost");
  expect(stalled.bytes).toBeLessThan(16 * windowBytes);
  await other.close();
});

test("Ctrl-C stops a flood that is read slowly", async () => {
  const file = flood();
  const shell = await api.shell();
  await shell.echo("ready");
  const timer = setInterval(() => {
    shell.socket.pause();
    setTimeout(() => shell.socket.resume(), 80);
  }, 100);
  shell.type(`type "${file}"\r`);
  const start = shell.bytes;
  await shell.until(() => shell.bytes - start > windowBytes);
  shell.type("\x03");
  await shell.echo("after-the-flood");
  clearInterval(timer);
  shell.socket.resume();
  expect(shell.bytes).toBeLessThan(25_000_000);
  await shell.close();
});
