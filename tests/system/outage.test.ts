import { randomFillSync } from "node:crypto";
import { readdirSync, readFileSync } from "node:fs";
import { afterAll, beforeAll, expect, test } from "vitest";
import { EventFeed } from "../support/event_feed.ts";
import { serverProcess, standing } from "../support/processes.ts";
import { Remote, testProgram } from "../support/remote.ts";
import { Stack } from "../support/stack.ts";

// A stack of its own: its server dies, and ./run starts it anew.
let stack: Stack;
beforeAll(async () => {
  stack = await Stack.start();
});
afterAll(() => stack.stop());

async function killServer(): Promise<void> {
  const before = serverProcess(stack.data);
  process.kill(before, "SIGKILL");
  const isBack = async () => {
    const machines = await stack.api.machines().catch(() => []);
    return machines[0]?.connected === true && serverProcess(stack.data) !== before;
  };
  await expect.poll(isBack, { timeout: 120_000 }).toBe(true);
}

test("events arrive once and in order although the server dies in between", async () => {
  const remote = await Remote.open(stack.api, stack.data);
  const runs = [];
  for (const timeout of [1, 2, 3]) {
    runs.push(await remote.run(`"${testProgram}" sleep`, { execute: { timeout } }));
  }
  await killServer();

  const feed = await EventFeed.open(stack.api, remote.machine, 0);
  await runs.at(-1)?.finished(feed);
  const ends = feed.events.filter(({ name }) => name === "RemoteAccess.ProcessFinished");
  expect(ends.map(({ payload }) => payload.data.runContext)).toEqual(
    runs.map(({ output }) => output.runContext),
  );
  feed.close();
});

test("a download goes on where it was when the server has died on the way", async () => {
  const remote = await Remote.open(stack.api, stack.data);
  const content = randomFillSync(Buffer.alloc(128 * 1024 * 1024));
  await remote.store("resumed.bin", content);
  const items = [0, 1].map((copy) => ({
    sourceUri: "resumed.bin",
    to: `C:\\resumed\\${copy}`,
  }));
  const { output } = await remote.download(items);
  await killServer();
  const feed = await EventFeed.open(stack.api, remote.machine, 0);
  const finished = await feed.finished("DownloadFinished", ({ jobId }) => jobId === output.jobId);
  feed.close();
  expect(finished.items.map(({ errorCode }) => errorCode)).toEqual([0, 0]);
  for (const copy of [0, 1]) {
    expect(Buffer.compare(readFileSync(remote.file(`resumed/${copy}`)), content)).toBe(0);
  }
});

test("a machine that is stopped in the middle of everything leaves nothing behind and tells of it", async () => {
  const remote = await Remote.open(stack.api, stack.data);
  remote.write("large.bin", randomFillSync(Buffer.alloc(256 * 1024 * 1024)));
  remote.write("small.txt");
  remote.write("cut/mine.txt");
  const { output: packing } = await remote.startUpload(["C:\\large.bin"]);
  const { output: queued } = await remote.startUpload(["C:\\small.txt"]);
  const run = await remote.run(`"${testProgram}" tree`);
  const items = [0, 1, 2, 3].map((copy) => ({ sourceUri: "resumed.bin", to: `C:\\cut\\${copy}` }));
  const { output: download } = await remote.download(items);
  expect([packing.jobId, download.jobId, run.status]).not.toContain(undefined);
  expect(await stack.stop({ keep: true })).toBe(0);

  expect(standing(stack.data).processes).toEqual([]);
  expect(readdirSync(remote.file("cut"))).toEqual(["mine.txt"]);
  expect(remote.temporary()).toEqual([]);

  stack = await Stack.start([], stack.data);
  const told = await Remote.open(stack.api, stack.data, 0);
  expect((await run.finished(told.events)).reason).toBe("canceled");
  for (const { jobId } of [packing, queued]) {
    expect((await told.uploadFinished(jobId)).status).not.toBe("success");
  }
  expect((await told.downloadFinished(download.jobId)).status).toBe("aborted");
  told.close();
});
