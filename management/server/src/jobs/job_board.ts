import { randomUUID } from "node:crypto";
import { isDeepStrictEqual } from "node:util";
import type { z } from "zod";
import type { PolicyReply } from "../integration/integration_messages.ts";
import type { EventLog, EventRecord } from "../machines/event_log.ts";
import { JsonFile } from "../persistence/json_file.ts";
import { type Job, keptJobs, memberOf, parseOpenly, shorten, textOf } from "./job.ts";

const MAX_JOBS = 200;
const MAX_EARLY_ENDS = 32;
const PROGRESS_MS = 250;

const kinds = new Map<string, Job["kind"]>([
  ["StartDownload", "download"],
  ["StartUploadArchive", "upload"],
  ["StartProcess", "process"],
]);
const PENDING: Job["phase"][] = ["asked", "running", "transferring"];

/**
 * What was started on one machine, put together from what passes through this server: policy calls and their answers, transfers
 * of files, events. Kept across restarts; what events told in between is made up for.
 */
export class JobBoard {
  readonly #file: JsonFile<z.infer<typeof keptJobs>>;
  readonly #jobs: Job[];
  readonly #followers = new Set<(job: Job) => void>();
  /** When the last progress of a job was told, and the telling that is due. */
  readonly #progress = new Map<Job, { toldAt: number; due?: NodeJS.Timeout }>();
  /** Ends of uploads that nobody knows yet: a process run's may come before the run's own. */
  readonly #earlyEnds = new Map<string, unknown>();
  #instance: string | null;
  #lastEvent: number;

  /** Throws when the file is damaged. */
  constructor(path: string, events: EventLog, onError: (error: unknown) => void) {
    this.#file = new JsonFile(path, keptJobs, onError);
    const kept = this.#file.read() ?? { instance: null, lastEvent: 0, jobs: [] };
    this.#instance = kept.instance;
    this.#lastEvent = kept.lastEvent;
    this.#jobs = kept.jobs;
    for (const event of events.since(this.#lastEvent)) {
      if (event.store !== undefined) this.onEvent(event);
    }
  }

  /** Newest last. */
  get jobs(): readonly Job[] {
    return this.#jobs;
  }

  /** A policy method was called, with this JSON. The result takes the answer. */
  asked(method: string, input: string, by: string): (reply: PolicyReply) => void {
    const kind = kinds.get(method);
    if (!kind) return () => {};
    const job = this.#add({ kind, by, input: shorten(parseOpenly(input)) });
    return (reply) => this.#answer(job, reply);
  }

  /**
   * The agent has connected. What had no answer on the connection before will get none, and a new run of the agent knows nothing of
   * what the one before had not ended.
   */
  greeted(instance: string): void {
    const anew = instance !== this.#instance;
    this.#instance = instance;
    if (anew) this.#save();
    for (const job of this.#pending()) {
      if (anew || job.phase === "asked") this.#close(job, "lost");
    }
  }

  onEvent({ id, name, payload }: EventRecord): void {
    this.#lastEvent = id;
    const kind = /^RemoteAccess\.(Download|Upload|Process)Finished$/.exec(name)?.[1];
    const data = kind && memberOf(parseOpenly(payload), "data");
    if (kind === "Process") this.#endProcess(data);
    else if (kind) this.#endFile(kind === "Upload" ? "upload" : "download", data);
  }

  /**
   * A file goes to the machine or comes from it, for the job with that "runContext". The result takes the bytes that have
   * passed, and the length of the whole.
   */
  transfer(
    kind: "download" | "upload",
    runContext: unknown,
    name: string,
  ): (bytes: number, total: number) => void {
    let job: Job | undefined;
    let soughtAt = Number.NEGATIVE_INFINITY;
    return (bytes, total) => {
      // The upload of a process run can begin before the event that tells of it.
      if (!job && performance.now() - soughtAt >= PROGRESS_MS) {
        soughtAt = performance.now();
        const same = this.#pending(kind).filter((it) => hasContext(it, runContext));
        job = same.find(({ phase }) => phase !== "transferring") ?? same[0];
      }
      if (!job || !PENDING.includes(job.phase)) return;
      job.transfer = { name, bytes, total };
      if (job.phase === "transferring") return this.#tellProgress(job);
      job.phase = "transferring";
      this.#changed(job);
    };
  }

  /** Calls `follower` with each job that has changed; the result ends that. */
  follow(follower: (job: Job) => void): () => void {
    this.#followers.add(follower);
    return () => this.#followers.delete(follower);
  }

  flush(): Promise<void> {
    return this.#file.flush();
  }

  #add(known: Pick<Job, "kind" | "by" | "input"> & Partial<Job>): Job {
    const job: Job = {
      id: randomUUID(),
      startedAt: new Date().toISOString(),
      status: null,
      message: null,
      pid: null,
      jobId: null,
      parent: null,
      phase: "asked",
      transfer: null,
      endedAt: null,
      end: null,
      ...known,
    };
    this.#jobs.push(job);
    const oldest = this.#jobs.length > MAX_JOBS && this.#jobs.shift();
    if (oldest) this.#forgetProgress(oldest);
    this.#changed(job);
    return job;
  }

  #answer(job: Job, { status, output }: PolicyReply): void {
    const answer = parseOpenly(output);
    const pid = memberOf(answer, "pid");
    job.status = status;
    job.message = textOf(memberOf(answer, "message"));
    job.pid = typeof pid === "number" ? pid : null;
    if (job.kind !== "process") job.jobId ??= textOf(memberOf(answer, "jobId"));
    if (job.phase === "asked" && status !== 0) return this.#close(job, "refused");
    if (job.phase === "asked") job.phase = "running";
    this.#changed(job);
  }

  #endFile(kind: "download" | "upload", data: unknown): void {
    const jobId = textOf(memberOf(data, "jobId"));
    if (!jobId) return;
    const isNamed = (job: Job) => job.jobId === jobId;
    // The end may come before the answer that names the job.
    const isMeant = (job: Job) =>
      job.jobId === null &&
      (memberOf(job.input, "jobId") === jobId || hasContext(job, memberOf(data, "runContext")));
    const [pending, lost] = [this.#pending(kind), this.#lost(kind)];
    let job = pending.findLast(isNamed);
    if (!job && this.#isToldAlready(kind, jobId)) return;
    job ??= pending.findLast(isMeant) ?? lost.findLast((it) => isNamed(it) || isMeant(it));
    if (job) {
      job.jobId = jobId;
      return this.#close(job, "ended", data);
    }
    if (kind === "download") return;
    this.#earlyEnds.set(jobId, data);
    const [oldest] = this.#earlyEnds.keys();
    if (this.#earlyEnds.size > MAX_EARLY_ENDS && oldest) this.#earlyEnds.delete(oldest);
  }

  #endProcess(data: unknown): void {
    const output = memberOf(data, "startUploadArchive", "output");
    const jobId = textOf(memberOf(output, "jobId"));
    if (jobId && this.#jobs.some((job) => job.parent !== null && job.jobId === jobId)) return; // Told again.
    const isMeant = (job: Job) => hasContext(job, memberOf(data, "runContext"));
    const pending = this.#pending("process");
    const job =
      pending.find((it) => it.phase === "running" && isMeant(it)) ??
      pending.find(isMeant) ??
      this.#lost("process").find(isMeant);
    if (!job) return;
    this.#close(job, "ended", data);
    if (!jobId || memberOf(data, "startUploadArchive", "error") !== 0) return;
    const upload = this.#add({
      kind: "upload",
      by: job.by,
      input: memberOf(job.input, "startUploadArchive") ?? null,
      status: 0,
      message: textOf(memberOf(output, "message")),
      jobId,
      parent: job.id,
      phase: "running",
    });
    if (this.#earlyEnds.has(jobId)) this.#close(upload, "ended", this.#earlyEnds.get(jobId));
    this.#earlyEnds.delete(jobId);
  }

  /** An agent tells an end again where it cannot know that the first time was heard. */
  #isToldAlready(kind: Job["kind"], jobId: string): boolean {
    return this.#jobs.some(
      (job) => job.kind === kind && job.jobId === jobId && job.phase === "ended",
    );
  }

  #pending(kind?: Job["kind"]): Job[] {
    return this.#jobs.filter((it) => PENDING.includes(it.phase) && (!kind || it.kind === kind));
  }

  #lost(kind: Job["kind"]): Job[] {
    return this.#jobs.filter((job) => job.phase === "lost" && job.kind === kind);
  }

  #close(job: Job, phase: "ended" | "refused" | "lost", end: unknown = null): void {
    job.phase = phase;
    job.endedAt = new Date().toISOString();
    job.end = shorten(end);
    this.#changed(job);
  }

  #changed(job: Job): void {
    this.#forgetProgress(job);
    this.#save();
    for (const follower of this.#followers) follower(job);
  }

  #forgetProgress(job: Job): void {
    clearTimeout(this.#progress.get(job)?.due);
    this.#progress.delete(job);
  }

  #tellProgress(job: Job): void {
    const progress = this.#progress.get(job) ?? { toldAt: Number.NEGATIVE_INFINITY };
    this.#progress.set(job, progress);
    if (progress.due) return;
    const tell = () => {
      this.#progress.set(job, { toldAt: performance.now() });
      for (const follower of this.#followers) follower(job);
    };
    const wait = progress.toldAt + PROGRESS_MS - performance.now();
    if (wait <= 0) return tell();
    progress.due = setTimeout(tell, wait).unref();
  }

  #save(): void {
    this.#file.write(() => ({
      instance: this.#instance,
      lastEvent: this.#lastEvent,
      jobs: this.#jobs,
    }));
  }
}

/** The text of a context may have changed on its way, its value has not. */
function hasContext(job: Job, runContext: unknown): boolean {
  return (
    runContext !== undefined && isDeepStrictEqual(memberOf(job.input, "runContext"), runContext)
  );
}
