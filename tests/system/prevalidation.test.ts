import { expect, test } from "vitest";
import { sharedRemote } from "../support/shared_api.ts";

const remote = await sharedRemote();
remote.write("check/a.txt", "12345");
remote.write("check/sub/b.txt", "123");

async function ask(method: string, parameters: unknown): Promise<unknown> {
  const text = typeof parameters === "string" ? parameters : JSON.stringify(parameters);
  const answer = await remote.api.rpc(method, text);
  expect(answer.text.endsWith("\n")).toBe(true);
  const content = JSON.parse(answer.text);
  expect(answer.code).toBe(content.code ?? 0);
  return content;
}
const download = (path: string, againstProfile = "default") =>
  ask("PrevalidateDownloadPath", { path, againstProfile });
const upload = (path: string, againstProfile = "default") =>
  ask("PrevalidateUploadPath", { path, againstProfile });
const refusal = (code: number, message: string) => ({ code, message });

test("each row of the answers about a path is told", async () => {
  for (const method of ["PrevalidateDownloadPath", "PrevalidateUploadPath"]) {
    for (const bad of ["no json", "[]", "{}", { path: 5 }, { path: "C:\\check" }]) {
      expect(await ask(method, bad)).toEqual(refusal(160, "bad arguments"));
    }
    expect(await ask(method, { path: "a\\.." })).toEqual(refusal(267, "relative path"));
  }
  for (const way of [download, upload]) {
    expect(await way("")).toEqual(refusal(123, "invalid name"));
    expect(await way("C:\\a<b")).toEqual(refusal(123, "invalid name"));
    expect(await way("check")).toEqual(refusal(267, "relative path"));
    expect(await way("C:\\missing")).toEqual(refusal(2, "path not found"));
    expect(await way("C:\\check", "nowhere")).toEqual(refusal(1168, "invalid profile"));
  }
  expect(await download("C:\\check\\x\\..")).toEqual({ valid: true });
  expect(await download("C:/check/sub/")).toEqual({ valid: true });
  expect(await download("C:\\check\\a.txt")).toEqual(refusal(3, "not directory"));
  expect(await upload("C:\\check")).toEqual({ fileCount: 2, size: 8 });
  expect(await upload("C:\\check\\a.txt")).toEqual({ fileCount: 1, size: 5 });
});

test("the product's own folder takes no downloads, however it is written", async () => {
  const folder = `Z:${process.cwd()}/build/release/bin`;
  for (const path of [folder, folder.toUpperCase(), folder.replaceAll("/", "\\")]) {
    // The machine's disk tells letters' case, so only the spelling that is there gets as far as the folder's test.
    expect([2, 313]).toContain(((await download(path)) as { code: number }).code);
  }
  expect(await download(folder)).toEqual(refusal(313, "access denied"));
});
