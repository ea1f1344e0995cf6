import { execFileSync } from "node:child_process";
import { randomFillSync } from "node:crypto";
import { chmodSync, readdirSync, readFileSync, rmSync, truncateSync } from "node:fs";
import { path7za } from "7zip-bin";
import type { Download, Locator } from "playwright-core";
import { expect, inject, test } from "vitest";
import { openPage, seeOnScreen, shot } from "../support/browser.ts";
import { sharedRemote } from "../support/shared_api.ts";

const mebibyte = 1024 * 1024;
chmodSync(path7za, 0o755); // Its package comes without that.
const remote = await sharedRemote();
const page = await openPage();

const region = (name: string) => page.getByRole("region", { name, exact: true });
const form = (name: string) => page.getByRole("form", { name, exact: true });
const button = (name: string | RegExp) => page.getByRole("button", { name, exact: true });
const show = (view: string) => page.getByRole("link", { name: view, exact: true }).click();
const see = (where: Locator, text: string | RegExp) => where.getByText(text).first().waitFor();

// The transfers with that name, newest first.
const transfers = (title: string) =>
  region("Transfers")
    .getByRole("listitem")
    .filter({ has: page.locator("strong", { hasText: title }) });
const stateOf = (transfer: Locator, text: string) =>
  transfer.locator(".transfer-state > span:first-child", { hasText: text }).waitFor();

// What the storage holds of files that pages send.
async function copies(): Promise<string[]> {
  const stored = await remote.api.ask<{ name: string }[]>("storage/default");
  return stored.map(({ name }) => name).filter((name) => name.startsWith("sent-"));
}

async function send(files: Parameters<Locator["setInputFiles"]>[0], folder: string) {
  await form("Send files").locator("input[type=file]").setInputFiles(files);
  await form("Send files").getByLabel("Target folder").fill(folder);
  await button(/^Send \d+ files?$/).click();
}

test("files go into a folder that is made for them, and no copy stays in the storage", async () => {
  await show("Files");
  const content = randomFillSync(Buffer.alloc(2 * mebibyte));
  const files = [
    { name: "bericht ü 文.txt", mimeType: "text/plain", buffer: Buffer.from("the report") },
    { name: "data.bin", mimeType: "application/octet-stream", buffer: content },
  ];
  // One that takes nothing is refused in words, before anything is sent.
  await send(files, "C:\\windows\\win.ini");
  await see(form("Send files"), /a file, not a folder.*Code 3$/);
  expect(await button("Make the folder and send").count()).toBe(0);
  await send([], "C:\\sent\\new");
  await see(form("Send files"), /This folder does not exist on the machine.*Code 2$/);
  await button("Make the folder and send").click();
  const sent = transfers("2 files").first();
  await stateOf(sent, "Sent");
  await sent.locator("summary").click();
  await sent.getByText("Arrived.").nth(1).waitFor();
  expect(readFileSync(remote.file("sent/new/bericht ü 文.txt"), "utf8")).toBe("the report");
  expect(readFileSync(remote.file("sent/new/data.bin")).equals(content)).toBe(true);
  await expect.poll(copies, { timeout: 60_000 }).toEqual([]);
  await shot(page, "files-sent");
});

test("a transfer shows its bytes, and cancelled it leaves nothing behind", async () => {
  const large = remote.file("large.bin");
  remote.write("large.bin");
  truncateSync(large, 512 * mebibyte);
  remote.write("kept/a.txt");
  await send(large, "C:\\kept");
  const transfer = transfers("large.bin").first();
  await stateOf(transfer, "Sending");
  await see(transfer, /^\d.* of 537 MB$/);
  await button("Cancel large.bin").click();
  await stateOf(transfer, "Cancelled");
  expect(readdirSync(remote.file("kept"))).toEqual(["a.txt"]);
  await expect.poll(copies, { timeout: 60_000 }).toEqual([]);
  rmSync(large);
});

async function add(path: string): Promise<void> {
  await region("Fetch files").getByLabel("File or folder on the machine").fill(path);
  await button("Add").click();
}

async function fetched(transfer: Locator): Promise<Download> {
  const coming = page.waitForEvent("download");
  await transfer.getByRole("link", { name: "Download" }).click();
  return coming;
}

async function unzip(download: Download, ...args: string[]): Promise<string> {
  return execFileSync(path7za, [...args, await download.path()], { stdio: "pipe" }).toString();
}

test("paths are counted before they are fetched, and come as an archive to download", async () => {
  for (const path of ["a.txt", "ünï/文.txt", "gone.txt"]) remote.write(`fetch/${path}`, "12345");
  await add("C:\\fetch");
  await see(page.getByRole("list", { name: "Paths to fetch" }), "3 files, 15 bytes");
  await add("C:\\missing");
  await see(region("Fetch files"), /does not exist.*Code 2$/);
  await add('"C:\\fetch\\gone.txt"');
  await region("Fetch files").getByLabel("Archive name").fill("first");
  await button("Fetch 2 of 3 paths").waitFor();
  rmSync(remote.file("fetch/gone.txt"));
  await button("Fetch 2 of 3 paths").click();
  const first = transfers("first").first();
  await stateOf(first, "Fetched, with gaps");
  await see(first, /Not found on the machine.*Code 2/);
  await shot(page, "files-fetched");

  const archive = await fetched(first);
  expect(archive.suggestedFilename()).toBe("first.zip");
  expect(await unzip(archive, "x", "-so", "-i!fetch/ünï/文.txt")).toBe("12345");
  expect((await unzip(archive, "l", "-ba", "-slt")).match(/^Path = .*(?<!\/)$/gm)).toHaveLength(2);

  await button("Remove C:\\missing").click();
  await add("C:\\fetch\\a.txt");
  await region("Fetch files").getByLabel("Archive name").fill("second.zip");
  await region("Fetch files").getByLabel("Password").fill("right horse");
  await button("Fetch 1 path").click();
  const second = transfers("second.zip").first();
  await stateOf(second, "Fetched");
  const locked = await fetched(second);
  expect(await unzip(locked, "x", "-so", "-pright horse")).toBe("12345");
  await expect(unzip(locked, "x", "-so", "-pwrong")).rejects.toThrow("Wrong password");

  await button("Delete second.zip").click();
  await button("Delete second.zip from the server").click();
  await see(second, "Deleted");
  expect((await remote.storage("second.zip")).status).toBe(404);
});

const run = (command: string) =>
  page.getByRole("list", { name: "Runs" }).getByRole("listitem").filter({ hasText: command });

async function start(command: string): Promise<void> {
  await form("Run a command").getByLabel("Command line").fill(command);
  await button("Run").click();
}

test("a command's output and exit code come back, and it can be used again", async () => {
  await show("Commands");
  await form("Run a command").getByLabel("Working folder").fill("C:\\fetch");
  await start("cmd /c cd & echo größe & exit 3");
  const first = run("echo größe").first();
  await see(first.locator(".run-state"), "Finished, exit code 3");
  expect(await first.getByRole("region", { name: "Output" }).innerText()).toMatch(
    /^C:\\fetch\s+größe\s*$/,
  );
  await shot(page, "commands");

  await form("Run a command").getByLabel("Working folder").fill("");
  await start("no-such-program.exe");
  await see(run("no-such-program").first(), "Not started");
  await see(run("no-such-program").first(), /not found on the machine.*Code 2/);

  await first.getByRole("button", { expanded: false }).click();
  await first.getByRole("button", { name: "Use again" }).click();
  const folder = form("Run a command").getByLabel("Working folder");
  expect(await folder.inputValue()).toBe("C:\\fetch");
  await button("Run").click();
  await run("echo größe").nth(1).waitFor();
  await see(run("echo größe").first().locator(".run-state"), "Finished, exit code 3");
});

test("an output that was deleted meanwhile is asked for once", async () => {
  // Nothing is remembered of the outputs, and all of them are still there.
  const listed = page.waitForResponse(/storage\/default$/);
  await page.reload();
  await listed;
  const oldest = run("echo größe").last();
  const output = (await remote.jobs()).find(({ parent }) => parent !== null);
  const name = output?.end.centralizedStorage.httpResponse.body.name;
  expect((await remote.storage(name, { method: "DELETE" })).status).toBe(204);
  let asked = 0;
  page.on("request", (request) => {
    if (request.url().includes(`${name}?entry=`)) asked++;
  });
  await oldest.getByRole("button", { expanded: false }).click();
  await see(oldest, "The server does not have this.");
  await start("cmd /c echo afterwards");
  await see(run("afterwards").first().getByRole("region", { name: "Output" }), "afterwards");
  expect(asked).toBe(1);
});

test("the events tell what happened, can be searched, and have an address", async () => {
  await show("Events");
  const events = page.locator(".event");
  await see(events, "Command: Finished, exit code 3");
  await page.getByText("Fetched", { exact: true }).click();
  await page.getByLabel("Search events").fill("FIRST.zip");
  await page.getByText(/^1 of \d+ events$/).waitFor();
  expect(await events.innerText()).toMatch(/Fetched, with gaps: first.zip, 2 paths.*\d:\d\d/s);
  await shot(page, "events");
  const { id } = await remote.api.machine();
  expect(page.url()).toBe(`${inject("address")}/#/${id}/events`);
  await page.reload();
  await see(events, "Command: Finished, exit code 3");
});

test("switched off, a machine ends its shell and refuses all else until it is on again", async () => {
  const toggle = (checked: boolean) => page.getByRole("switch", { name: "Remote access", checked });
  await show("Shell");
  await page.keyboard.press("Control+Alt+t");
  await seeOnScreen(page, 0, ">");
  await toggle(true).click();
  await see(page.getByRole("dialog"), "1 open shell there ends at once.");
  await button("Switch off").click();
  await toggle(false).waitFor();
  await see(page.getByRole("tabpanel"), "switched off on this machine, which ends every shell");
  await shot(page, "switched-off");
  await remote.api.machineThat((machine) => machine.sessions === 0);
  for (const view of ["Files", "Commands"]) {
    await show(view);
    await see(region(view), /Remote access is switched off on this machine/);
  }
  expect(await button("Run").isDisabled()).toBe(true);
  await toggle(false).click();
  await toggle(true).waitFor();
  await show("Commands");
  await start("cmd /c echo on again");
  await see(run("on again").first().getByRole("region", { name: "Output" }), "on again");
});
