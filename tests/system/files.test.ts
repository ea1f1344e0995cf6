import { createHash, randomFillSync } from "node:crypto";
import {
  chmodSync,
  closeSync,
  existsSync,
  ftruncateSync,
  openSync,
  readdirSync,
  readFileSync,
  rmSync,
  writeSync,
} from "node:fs";
import { expect, test } from "vitest";
import { type Finished, testProgram } from "../support/remote.ts";
import { sharedRemote } from "../support/shared_api.ts";

const mebibyte = 1024 * 1024;
const remote = await sharedRemote();

// What the machine keeps of uploads under way.
const archives = () =>
  remote.temporary().filter((path) => /^Tessaro\.\{899B55B7[^/]*\/./.test(path));
const stored = (finished: Finished) => finished.centralizedStorage.httpResponse.body?.name ?? "";

test("files come down to the machine, and a missing one fails alone", async () => {
  await remote.store("first.txt", "the first");
  await remote.store("zweite Datei ü.txt", "the second");
  const answer = await remote.download([
    { sourceUri: "first.txt", to: "C:\\down\\new\\first.txt" },
    { sourceUri: "missing.txt", to: "C:\\down\\missing.txt" },
    { sourceUri: "zweite Datei ü.txt", to: "C:\\down\\x\\..\\second.txt" },
  ]);
  const finished = await remote.downloadFinished(answer.output.jobId);
  expect(finished.status).toBe("success");
  expect(finished.items.map((item) => item.errorCode)).toEqual([0, 2, 0]);
  expect(readFileSync(remote.file("down/new/first.txt"), "utf8")).toBe("the first");
  expect(readFileSync(remote.file("down/second.txt"), "utf8")).toBe("the second");
  expect(readdirSync(remote.file("down")).sort()).toEqual(["new", "second.txt"]);
});

test("the machine fetches no name that leads elsewhere, and nothing from an unknown profile", async () => {
  await remote.store("plain.txt", "x");
  const local = ["..\\plain.txt", "a/../../plain.txt", "C:plain.txt", "plain.txt:stream", "NUL"];
  const names = [...local, "http://other/x"];
  const items = names.map((sourceUri) => ({ sourceUri, to: "C:\\refused.txt" }));
  const { output } = await remote.download(items);
  const finished = await remote.downloadFinished(output.jobId);
  expect(finished.status).toBe("failed");
  expect(finished.items.map((item) => item.errorCode)).toEqual(names.map(() => 123));
  expect(existsSync(remote.file("refused.txt"))).toBe(false);

  const nowhere = { centralizedStorage: { profile: "nowhere", postItems: [] } };
  expect((await remote.download([{ sourceUri: "a", to: "C:\\a" }], nowhere)).status).toBe(1168);
});

test("a cancelled download leaves nothing of what had arrived", async () => {
  await remote.store("small.txt", "small");
  await remote.store("large.bin", new Uint8Array(256 * mebibyte));
  const jobId = "cancel-me";
  const items = ["small.txt", ...Array(8).fill("large.bin")].map((sourceUri: string, index) => ({
    sourceUri,
    to: `C:\\cancelled\\${index}`,
  }));
  expect((await remote.download(items, { jobId })).status).toBe(0);
  expect((await remote.download(items, { jobId })).status).toBe(1375);
  await expect.poll(() => existsSync(remote.file("cancelled/0")), { timeout: 60_000 }).toBe(true);
  expect(await remote.policy("CancelDownload", { jobId })).toMatchObject({
    status: 0,
    output: { jobId },
  });
  expect((await remote.downloadFinished(jobId)).status).toBe("aborted");
  expect(readdirSync(remote.file("cancelled"))).toEqual([]);
  expect((await remote.policy("CancelDownload", { jobId })).status).toBe(6);
});

test("a folder comes up as an archive, without the file that somebody has locked", async () => {
  const names = ["plain.txt", "ünï–код–文.txt", "sub/deep/read-only.txt", "locked.txt"];
  for (const name of names) remote.write(`up/${name}`, `content of ${name}`);
  chmodSync(remote.file("up/sub/deep/read-only.txt"), 0o444);
  remote.write("up/empty/placeholder");
  const sign = remote.file("held");
  const holder = await remote.run(`"${testProgram}" hold C:\\up\\locked.txt C:\\held`);
  await expect.poll(() => existsSync(sign), { timeout: 60_000 }).toBe(true);

  const { output } = await remote.startUpload([
    "C:\\up",
    "C:\\missing",
    "C:\\up\\plain.txt",
    "up\\relative",
  ]);
  const finished = await remote.uploadFinished(output.jobId);
  expect(finished.status).toBe("success");
  expect(finished.items.map(({ errorCode, error }) => [errorCode, error])).toEqual([
    [996, "incomplete packing"],
    [2, "path not found"],
    [0, "success"],
    [267, "relative path"],
  ]);
  for (const name of names.slice(0, 3)) {
    expect((await remote.entry(stored(finished), `up/${name}`)).toString()).toBe(
      `content of ${name}`,
    );
  }
  rmSync(sign);
  expect((await holder.finished()).exitCode).toBe(0);
  await expect.poll(archives, { timeout: 60_000 }).toEqual([]);
});

test("a large file is packed while thirty uploads wait, and one more is refused", async () => {
  // A quarter of it cannot be packed any smaller, which takes the worker longer than the calls take.
  const block = randomFillSync(Buffer.alloc(mebibyte));
  remote.write("large.bin");
  const file = openSync(remote.file("large.bin"), "w");
  const hash = createHash("sha256");
  for (let written = 0; written < 256; written++) {
    block.writeUInt32LE(written);
    writeSync(file, block);
    hash.update(block);
  }
  ftruncateSync(file, 1024 * mebibyte);
  closeSync(file);
  const zeros = Buffer.alloc(mebibyte);
  for (let written = 256; written < 1024; written++) hash.update(zeros);

  const large = await remote.startUpload(["C:\\large.bin"]);
  await expect.poll(() => archives().length, { timeout: 60_000 }).toBeGreaterThan(0);
  remote.write("little.txt");
  const waiting = [];
  for (let count = 0; count < 30; count++)
    waiting.push(await remote.startUpload(["C:\\little.txt"]));
  expect(waiting.map(({ status }) => status)).toEqual(Array(30).fill(0));
  expect(await remote.startUpload(["C:\\little.txt"])).toMatchObject({
    status: 170,
    output: { message: "busy" },
  });
  for (const { output } of waiting.slice(1)) {
    const { jobId } = output;
    expect(await remote.policy("CancelUpload", { jobId })).toMatchObject({
      status: 0,
      output: { message: "success" },
    });
    expect((await remote.uploadFinished(jobId)).status).toBe("aborted");
  }

  const finished = await remote.uploadFinished(large.output.jobId);
  expect(finished).toMatchObject({ status: "success", items: [{ errorCode: 0 }] });
  const content = await remote.storage(`${stored(finished)}?entry=large.bin`);
  const fetched = createHash("sha256");
  for await (const chunk of content.body ?? []) fetched.update(chunk);
  expect(fetched.digest("hex")).toBe(hash.digest("hex"));
  expect((await remote.uploadFinished(waiting[0]?.output.jobId)).status).toBe("success");

  // Packing it once more, and called off in the middle.
  const again = await remote.startUpload(["C:\\large.bin"]);
  await expect.poll(() => archives().length, { timeout: 60_000 }).toBeGreaterThan(0);
  expect((await remote.policy("CancelUpload", { jobId: again.output.jobId })).status).toBe(0);
  expect((await remote.uploadFinished(again.output.jobId)).status).toBe("aborted");
  await expect.poll(archives, { timeout: 60_000 }).toEqual([]);
});
