import { integer, type Json, list, text } from "./api/json";
import type { Problem } from "./api/problem";
import { baseName, folderOf } from "./files/names";
import { itemResults } from "./files/stored_archive";
import type { Job } from "./live/jobs_feed";
import { problemOfCode } from "./words_of_codes";
import { count } from "./words_of_sizes";

export type Tone = "calm" | "good" | "warn" | "bad";

/** How far something is, in a few words, and what is wrong with it. */
export interface StateWords {
  text: string;
  tone: Tone;
  problem?: Problem;
}

export interface TransferWords {
  /** What it is that travels. */
  title: string;
  /** Where it goes to or comes from. */
  place: string;
  state: StateWords;
}

export function describeTransfer(job: Job): TransferWords {
  return job.kind === "download"
    ? { ...describeSent(list(job.input, "items")), state: transferState(job) }
    : { ...describeFetched(job), state: transferState(job) };
}

/** Items by where they go to. */
export function describeSent(items: readonly Json[]): { title: string; place: string } {
  const targets = items.map((item) => text(item, "to"));
  const folders = new Set(targets.map(folderOf));
  const place = folders.size === 1 ? [...folders][0] : commonFolder(targets);
  return {
    // Of a long list only its being there is remembered.
    title: targets.length === 1 ? baseName(targets[0] ?? "") : manyFiles(targets.length),
    place: place ? `to ${place}` : targets.length ? "to several folders" : "",
  };
}

function describeFetched(job: Job): { title: string; place: string } {
  const paths = list(job.input, "items").map((item) => text(item, "pattern"));
  const place = paths.length === 1 ? paths[0] : paths.length ? count(paths.length, "path") : "";
  return {
    title: text(job.end, "name") || text(job.input, "name") || "Archive",
    place: place ? `from ${place}` : "",
  };
}

function manyFiles(number: number): string {
  return number === 0 ? "Files" : count(number, "file");
}

/** The folder that all paths lie in or below; empty where there is none. */
function commonFolder(paths: string[]): string {
  let common = folderOf(paths[0] ?? "");
  for (const path of paths) {
    while (common && !path.startsWith(`${common.replace(/\\$/, "")}\\`)) {
      const shorter = folderOf(common);
      common = shorter === common ? "" : shorter;
    }
  }
  return common;
}

function transferState(job: Job): StateWords {
  const sends = job.kind === "download";
  switch (job.phase) {
    case "asked":
      return { text: "Asking the machine…", tone: "calm" };
    case "refused":
      return {
        text: "Refused",
        tone: "bad",
        problem: problemOfJob(job, sends ? "send" : "fetch"),
      };
    case "running":
      return { text: sends ? "Waiting for the machine…" : "Packing on the machine…", tone: "calm" };
    case "transferring":
      return { text: sends ? "Sending" : "Transferring", tone: "calm" };
    case "lost":
      return {
        text: "Lost",
        tone: "warn",
        problem: unanswered(job) ?? {
          text: "The machine's agent was started anew. How this ended is not known.",
        },
      };
    case "ended":
      return sends ? sentState(job.end) : fetchedState(job.end);
  }
}

export function sentState(end: Json): StateWords {
  const items = itemResults(end, "to");
  const failed = items.filter(({ code }) => code !== 0).length;
  const status = text(end, "status");
  if (status === "aborted") return { text: "Cancelled", tone: "calm" };
  if (status === "success" && failed === 0) return { text: "Sent", tone: "good" };
  if (status === "success") {
    return { text: `Sent ${items.length - failed} of ${items.length}`, tone: "warn" };
  }
  const problem = storageProblem(end);
  return { text: "Nothing arrived", tone: "bad", ...(problem && { problem }) };
}

export function fetchedState(end: Json): StateWords {
  const failed = itemResults(end, "pattern").filter(({ code }) => code !== 0).length;
  const status = text(end, "status");
  if (status === "success" && failed === 0) return { text: "Fetched", tone: "good" };
  if (status === "success") return { text: "Fetched, with gaps", tone: "warn" };
  if (status === "aborted") return { text: "Cancelled", tone: "calm" };
  if (status === "gather items failed") return { text: "Nothing could be packed", tone: "bad" };
  const problem = storageProblem(end);
  return { text: "The archive did not arrive", tone: "bad", ...(problem && { problem }) };
}

/** The storage's own code, where it has one: what is worth saying of the whole, beside the items. */
function storageProblem(end: Json): Problem | undefined {
  const code = integer(end, "centralizedStorage", "error");
  if (!code || code === -1) return undefined;
  return problemOfCode(code, text(end, "centralizedStorage", "reason"), "transfer");
}

function problemOfJob(job: Job, attempt: "send" | "fetch" | "run"): Problem {
  if (job.status === null) return { text: job.message ?? "The machine did not answer." };
  return problemOfCode(job.status, job.message ?? "", attempt);
}

function unanswered(job: Job): Problem | undefined {
  if (job.status !== null) return undefined;
  return { text: "The connection broke before the machine answered. How this ended is not known." };
}

/** How a run of a command line stands, without its output. */
export function describeRun(job: Job): StateWords {
  if (job.phase === "asked") return { text: "Starting…", tone: "calm" };
  if (job.phase === "refused") {
    return { text: "Not started", tone: "bad", problem: problemOfJob(job, "run") };
  }
  if (job.phase === "lost") {
    const problem = unanswered(job) ?? {
      text: "The machine's agent was started anew, which ended the command.",
    };
    return { text: "Lost", tone: "warn", problem };
  }
  if (job.phase !== "ended") return { text: "Running", tone: "calm" };
  return describeRunEnd(job.end);
}

export function describeRunEnd(end: Json): StateWords {
  const exitCode = integer(end, "exitCode") ?? -1;
  const exit = `exit code ${describeExitCode(exitCode)}`;
  const tone = exitCode === 0 ? "good" : "warn";
  switch (text(end, "reason")) {
    case "completed":
      return { text: `Finished, ${exit}`, tone };
    case "timeout":
      return {
        text: "Stopped at its time limit",
        tone: "warn",
        problem: {
          text: "It ran longer than allowed and was ended, with everything that it had started. What it wrote stays on the machine.",
          code: exitCode,
        },
      };
    case "canceled":
      return {
        text: "Stopped",
        tone: "warn",
        problem: { text: "The agent's service was stopped meanwhile, which ended the command." },
      };
    case "uploadFailed": {
      const code = integer(end, "startUploadArchive", "error") ?? -1;
      const said = text(end, "startUploadArchive", "output", "message");
      const { text: why } = problemOfCode(code, said, "fetch");
      const problem = { text: `Its output could not be sent here: ${why}`, code };
      return {
        text: `Finished, ${exit}, without its output`,
        tone: "warn",
        problem: said ? { ...problem, said } : problem,
      };
    }
    default:
      return {
        text: "Failed",
        tone: "bad",
        problem: { text: "The machine's agent could not follow the command, and ended it." },
      };
  }
}

/** Codes of a crash are known by their hexadecimal form. */
function describeExitCode(code: number): string {
  if (code >= 0) return String(code);
  return `${code} (0x${(code >>> 0).toString(16).toUpperCase().padStart(8, "0")})`;
}
