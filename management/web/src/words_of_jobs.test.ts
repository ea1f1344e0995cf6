import { expect, test } from "vitest";
import type { Job } from "./live/jobs_feed";
import { describeHttp, problemOfAnswer, problemOfCheck } from "./words_of_codes";
import { describeEvent } from "./words_of_events";
import { describeRun, describeTransfer } from "./words_of_jobs";
import { duration, size } from "./words_of_sizes";

const job: Job = {
  id: 1,
  kind: "download",
  by: "token",
  startedAt: "2026-05-06T09:05:07Z",
  input: { items: [{ to: "C:\\a\\1.txt" }, { to: "C:\\a\\b\\2.txt" }] },
  status: 0,
  message: null,
  pid: null,
  jobId: "j",
  parent: null,
  phase: "running",
  transfer: null,
  endedAt: null,
  end: null,
};

test("an answer that is unknown, or of a strange form, is told all the same", () => {
  expect(problemOfAnswer({ status: 170, output: { message: "busy" } }, "send")).toMatchObject({
    code: 170,
    said: "busy",
  });
  expect(problemOfAnswer({ status: 31337, output: null }, "run")?.code).toBe(31337);
  expect(problemOfAnswer({ status: 0, output: undefined }, "run")).toBeUndefined();
  const check = (code: number, answer: unknown) => problemOfCheck({ code, answer }, "checkFetch");
  expect(check(0, { code: 5, message: "access denied" })).toMatchObject({ code: 5 });
  expect(check(3, undefined)).toMatchObject({ code: 3 });
  expect(check(0, undefined)).toBeDefined();
  expect(check(0, { fileCount: 1, size: 0 })).toBeUndefined();
  expect(describeHttp(500, "constructor", "").text).toBe(describeHttp(502, "", "").text);

  const told = (name: string, data: unknown) =>
    describeEvent({ id: 1, at: "", name, payload: { data } });
  expect(told("constructor", null)).toEqual({ kind: "other", text: "constructor", tone: "calm" });
  for (const data of [null, "x", { status: 5, items: [null] }]) {
    for (const what of ["Download", "Upload", "Process"]) {
      expect(told(`RemoteAccess.${what}Finished`, data).text).not.toBe("");
    }
  }
  // Whatever a script has sent as its input.
  for (const input of [null, 5, { items: {} }, { items: [null] }]) {
    expect(describeTransfer({ ...job, input }).title).toEqual(expect.any(String));
    expect(describeTransfer({ ...job, kind: "upload", input }).title).toEqual(expect.any(String));
  }
});

test("a job says how it ended, a transfer for each of its items", () => {
  const ended = (kind: Job["kind"], status: string, ...codes: number[]) => {
    const items = codes.map((errorCode) => ({ errorCode }));
    const end = { status, items, centralizedStorage: { error: 12029 } };
    return describeTransfer({ ...job, kind, phase: "ended", end }).state;
  };
  expect(ended("download", "success", 0, 2)).toEqual({ text: "Sent 1 of 2", tone: "warn" });
  expect(ended("download", "failed", 5).problem?.code).toBe(12029);
  expect(ended("upload", "gather items failed", 2).tone).toBe("bad");
  const run = (reason: string, exitCode: number) => {
    const startUploadArchive = { error: 170, output: { message: "busy" } };
    const end = { reason, exitCode, startUploadArchive };
    return describeRun({ ...job, kind: "process", phase: "ended", end });
  };
  expect(run("completed", -1073741819).text).toContain("0xC0000005");
  expect(run("uploadFailed", 3)).toMatchObject({ problem: { code: 170, said: "busy" } });
});

test("sizes and times are rounded before their unit is chosen", () => {
  expect([1, 99_960, 999_600].map(size)).toEqual(["1 byte", "100 kB", "1.0 MB"]);
  expect([999, 59_600, 125_000].map(duration)).toEqual(["1 s", "1 min", "2 min 5 s"]);
});
