import { expect, inject, test } from "vitest";
import { processesWithRole } from "../support/processes.ts";
import { testProgram } from "../support/remote.ts";
import { sharedRemote } from "../support/shared_api.ts";

const remote = await sharedRemote();

// How many test programs run on the machine.
const testPrograms = () => processesWithRole(inject("data"), "testProgram").length;

test("a command's output comes back, errors included, with its exit code", async () => {
  const run = await remote.run("cmd /c echo hello from %OS%& exit 3");
  expect(run.output.pid).toBeGreaterThan(0);
  const finished = await run.finished();
  expect(finished).toMatchObject({
    exitCode: 3,
    reason: "completed",
    startUploadArchive: { error: 0 },
  });
  expect(await remote.outputOf(finished)).toMatch(/^hello from Windows_NT\s+$/);

  const both = await (await remote.run(`"${testProgram}" errors`)).finished();
  expect((await remote.outputOf(both)).split(/\s+/)).toEqual(["out", "err", ""]);
  const zero = await (await remote.run(`"${testProgram}" zero`)).finished();
  expect(await remote.outputOf(zero)).toBe("kept");
});

test("the working folder is made, and files beside the output come along", async () => {
  remote.write("work/extra.txt", "extra");
  const run = await remote.run("cmd /c cd & echo more> made.txt", {
    execute: { workingDir: "C:\\work\\new", outputPath: "logs\\out.txt" },
    upload: { items: [{ pattern: "made.txt" }, { pattern: "C:\\work\\extra.txt" }] },
  });
  const finished = await run.finished();
  expect(await remote.outputOf(finished)).toMatch(/C:\\work\\new/i);
  const upload = await remote.uploadFinished(finished.startUploadArchive.output.jobId);
  expect(upload.items.map(({ pattern, errorCode }) => [pattern, errorCode])).toEqual([
    ["C:\\work\\new\\made.txt", 0],
    ["C:\\work\\extra.txt", 0],
    ["C:\\work\\new\\logs\\out.txt", 0],
  ]);
});

test("a run that outlives its limit ends with all that it has started", async () => {
  const run = await remote.run(`"${testProgram}" tree`, { execute: { timeout: 5 } });
  await expect.poll(testPrograms, { timeout: 60_000 }).toBe(3);
  expect(await run.finished()).toMatchObject({
    exitCode: 1460,
    reason: "timeout",
    startUploadArchive: { error: -1 },
  });
  await expect.poll(testPrograms, { timeout: 60_000 }).toBe(0);
});

test("four at once: the fourth is seen to its end when one of the others has ended", async () => {
  const runs = [];
  for (let count = 0; count < 3; count++) {
    runs.push(await remote.run(`"${testProgram}" sleep`, { execute: { timeout: 4 } }));
  }
  const fourth = await remote.run("cmd /c echo fourth");
  expect(await remote.outputOf(await fourth.finished())).toMatch(/^fourth/);
  for (const run of runs) expect((await run.finished()).reason).toBe("timeout");
  await expect.poll(testPrograms, { timeout: 60_000 }).toBe(0);
});

test("an upload that is refused is told with the run's end", async () => {
  const run = await remote.run("cmd /c exit 7", { upload: { name: "" } });
  expect(await run.finished()).toMatchObject({
    exitCode: 7,
    reason: "uploadFailed",
    startUploadArchive: { error: 123, output: { message: "invalid archive name" } },
  });
});
