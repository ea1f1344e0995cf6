import { expect, test } from "vitest";
import { sharedRemote } from "../support/shared_api.ts";

const remote = await sharedRemote();
const { api } = remote;

const status = async (method: string, input?: unknown) =>
  (await remote.policy(method, input)).status;

test("the switch is turned and read, and takes bools and numbers only", async () => {
  expect(await remote.policy("GetEnabled")).toEqual({ status: 0, output: { enabled: true } });
  expect(await status("SetEnabled", { enabled: "true" })).toBe(160);
  expect(await status("SetEnabled", {})).toBe(160);
  expect(await status("SetEnabled", 5)).toBe(160);

  const shell = await api.shell();
  await shell.echo("open");
  const off = api.machineThat((machine) => machine.enabled === false);
  expect(await status("SetEnabled", { enabled: 0 })).toBe(0);
  await off;
  await shell.closed;
  expect((await remote.policy("GetEnabled")).output).toEqual({ enabled: false });
  expect((await api.shell()).code).toBe(21);
  expect(await remote.download([])).toMatchObject({
    status: 1260,
    output: { message: "not enabled" },
  });
  expect((await remote.startUpload(["C:\\x"])).status).toBe(1260);
  expect((await remote.run("cmd /c echo never")).status).toBe(160);

  const on = api.machineThat((machine) => machine.enabled === true);
  expect(await status("SetEnabled", { enabled: 1 })).toBe(0);
  await on;
});

test("what is wrong with a call is told by its status", async () => {
  expect(await status("setenabled", { enabled: true })).toBe(4317);
  expect(await status("Nope", {})).toBe(4317);
  for (const missing of ["timeout", "items", "centralizedStorage", "runContext", "streamId"]) {
    expect((await remote.download([], { [missing]: undefined })).status).toBe(160);
  }
  for (const missing of ["name", "password", "items", "centralizedStorage", "runContext"]) {
    expect((await remote.startUpload(["C:\\x"], { [missing]: undefined })).status).toBe(160);
  }
  expect(await status("CancelDownload", { jobId: true })).toBe(160);
  expect(await status("CancelUpload", {})).toBe(160);
  const deep = JSON.parse(`{"enabled":${"[".repeat(400)}${"]".repeat(400)}}`);
  expect(await status("SetEnabled", deep)).toBe(160);
  expect(await status("GetEnabled")).toBe(0);
});

test("a run needs a command and a limit, and what hinders its start is one code", async () => {
  expect((await remote.run("")).status).toBe(160);
  expect((await remote.run("cmd", { execute: { timeout: 0 } })).status).toBe(160);
  const bare = {
    execute: { commandLine: "cmd", timeout: 5, outputPath: "", workingDir: "" },
    runContext: 1,
  };
  expect(await status("StartProcess", bare)).toBe(160);
  expect((await remote.run("no-such-program.exe")).status).toBe(2);
  expect((await remote.run("cmd", { execute: { workingDir: "relative" } })).status).toBe(160);
});

test("job ids are bounded, taken once, and unknown ones are not cancelled", async () => {
  const long = "x".repeat(51);
  expect(await remote.download([], { jobId: long })).toMatchObject({
    status: 8348,
    output: { message: "jobId too long" },
  });
  const answer = await remote.download([], { jobId: true, runContext: 5 });
  expect(answer).toMatchObject({ status: 0, output: { message: "N/A", runContext: 5 } });
  expect(answer.output.jobId).toMatch(/^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$/);
  expect(await remote.downloadFinished(answer.output.jobId)).toMatchObject({
    status: "failed",
    runContext: 5,
  });
  expect(await remote.policy("CancelDownload", { jobId: 7 })).toEqual({
    status: 6,
    output: { message: "invalid jobId", jobId: "7" },
  });
  expect((await remote.policy("CancelUpload", { jobId: "nobody" })).status).toBe(6);

  const refused = await remote.startUpload([], { name: "fine" });
  expect(refused).toMatchObject({ status: 4306, output: { message: "empty input" } });
  for (const name of ["", "a/b", "a\\b", "a<b"]) {
    const bad = await remote.startUpload(["C:\\x"], { name });
    expect(bad).toMatchObject({ status: 123, output: { message: "invalid archive name" } });
  }
  // A number where a text belongs is read as its text.
  const named = await remote.startUpload(["C:\\missing"], { name: 5 });
  expect(await remote.uploadFinished(named.output.jobId)).toMatchObject({
    name: "5",
    status: "gather items failed",
  });
});
