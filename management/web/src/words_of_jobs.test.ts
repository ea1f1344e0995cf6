import { expect, test } from "vitest";
import type { Job } from "./live/jobs_feed";
import {
  describeHttp,
  describePackedItem,
  problemOfAnswer,
  problemOfCheck,
} from "./words_of_codes";
import { describeEvent } from "./words_of_events";
import { describeRun, describeTransfer } from "./words_of_jobs";
import { count, duration, size } from "./words_of_sizes";

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

test("every code that a refusal can have has words of its own, with the code and the machine's word", () => {
  const codes = [2, 5, 8, 13, 21, 87, 123, 160, 170, 223, 267, 313, 1168, 1223, 1260];
  const more = [1359, 1375, 1460, 4306, 4317, 8348];
  const words = [...codes, ...more].map((status) => {
    const problem = problemOfAnswer({ status, output: { message: "busy" } }, "send");
    expect(problem).toMatchObject({ code: status, said: "busy" });
    return problem?.text;
  });
  expect(new Set(words).size).toBe(words.length);
  const unknown = problemOfAnswer({ status: 31337, output: null }, "run");
  expect(words).not.toContain(unknown?.text);
  expect(unknown?.code).toBe(31337);
  expect(problemOfAnswer({ status: 0, output: undefined }, "run")).toBeUndefined();

  const items = [161, 2, 267, 232, 313, 995, 1359, 996, 15616, 1223].map(describePackedItem);
  expect(new Set(items.map(({ text }) => text)).size).toBe(items.length);
});

test("a check says what is wrong by its own code, and is good only with an answer", () => {
  const check = (code: number, answer: unknown) => problemOfCheck({ code, answer }, "checkFetch");
  expect(check(4306, { code: 4306, message: "empty directory" })).toMatchObject({ code: 4306 });
  expect(check(0, { code: 5, message: "access denied" })).toMatchObject({ code: 5 });
  expect(check(3, undefined)).toMatchObject({ code: 3 });
  expect(check(0, undefined)).toBeDefined();
  expect(check(0, { fileCount: 1, size: 0 })).toBeUndefined();
  expect(describeHttp(409, "not_connected", "It is away.")).toEqual({
    text: "The machine's agent is not connected for this now.",
    code: "HTTP 409",
  });
  expect(describeHttp(400, "bad_name", "No device.")).toMatchObject({ said: "No device." });
  expect(describeHttp(500, "constructor", "").text).toBe(describeHttp(502, "", "").text);
});

test("a transfer says how it ended for each of its items", () => {
  const ended = (kind: Job["kind"], status: string, ...codes: number[]) => {
    const items = codes.map((errorCode) => ({ errorCode }));
    const end = { status, items, centralizedStorage: { error: 12029 } };
    return describeTransfer({ ...job, kind, phase: "ended", end }).state;
  };
  expect(describeTransfer(job)).toMatchObject({ title: "2 files", place: "to C:\\a" });
  expect(ended("download", "success", 0, 0)).toEqual({ text: "Sent", tone: "good" });
  expect(ended("download", "success", 0, 2)).toEqual({ text: "Sent 1 of 2", tone: "warn" });
  expect(ended("download", "failed", 5).problem?.code).toBe(12029);
  expect(ended("download", "aborted", 1223).tone).toBe("calm");
  expect(ended("upload", "success", 0, 996).text).toBe("Fetched, with gaps");
  expect(ended("upload", "gather items failed", 2).tone).toBe("bad");
  expect(ended("upload", "upload failed", 0).problem?.code).toBe(12029);
  // Whatever a script has sent as its input.
  for (const input of [null, 5, { items: {} }, { items: [null] }]) {
    expect(describeTransfer({ ...job, input }).title).toEqual(expect.any(String));
    expect(describeTransfer({ ...job, kind: "upload", input }).title).toEqual(expect.any(String));
  }
});

test("a run says its exit code and why it ended", () => {
  const ended = (reason: string, exitCode: number, error = -1) => {
    const startUploadArchive = { error, output: { message: "busy" } };
    const end = { reason, exitCode, startUploadArchive };
    return describeRun({ ...job, kind: "process", phase: "ended", end });
  };
  expect(ended("completed", 0)).toEqual({ text: "Finished, exit code 0", tone: "good" });
  expect(ended("completed", -1073741819).text).toContain("0xC0000005");
  expect(ended("timeout", 1460).problem?.code).toBe(1460);
  expect(ended("uploadFailed", 3, 170)).toMatchObject({ problem: { code: 170, said: "busy" } });
  expect(new Set(["canceled", "error"].map((reason) => ended(reason, -1).text)).size).toBe(2);
  const refused = describeRun({ ...job, phase: "refused", status: 2 });
  expect(refused.problem).toMatchObject({
    code: 2,
    text: "The program was not found on the machine.",
  });
});

test("an event is told in a line, also one of a strange form", () => {
  const told = (name: string, data: unknown) =>
    describeEvent({ id: 1, at: "", name, payload: { data } });
  const items = [
    { errorCode: 0, to: "C:\\a\\b" },
    { errorCode: 2, to: "C:\\a\\c" },
  ];
  const finished = told("RemoteAccess.DownloadFinished", { status: "success", items });
  expect(finished.text).toBe("Sent 1 of 2: 2 files to C:\\a");
  expect(told("constructor", null)).toEqual({ kind: "other", text: "constructor", tone: "calm" });
  for (const data of [null, "x", { status: 5, items: [null] }]) {
    for (const what of ["Download", "Upload", "Process"]) {
      expect(told(`RemoteAccess.${what}Finished`, data).text).not.toBe("");
    }
  }
});

test("sizes, counts and times are short", () => {
  const sizes = [0, 1, 999, 1000, 99_960, 999_600, 1.5e9, 2e15].map(size);
  expect(sizes).toEqual([
    "0 bytes",
    "1 byte",
    "999 bytes",
    "1.0 kB",
    "100 kB",
    "1.0 MB",
    "1.5 GB",
    "2000 TB",
  ]);
  expect([count(1, "file"), count(1200, "file")]).toEqual(["1 file", "1,200 files"]);
  expect([999, 59_600, 125_000, 3_780_000, 7_200_000].map(duration)).toEqual([
    "1 s",
    "1 min",
    "2 min 5 s",
    "1 h 3 min",
    "2 h",
  ]);
});
