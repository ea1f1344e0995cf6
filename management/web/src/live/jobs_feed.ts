import { signal } from "@preact/signals";
import { type Json, list, member, parse } from "../api/json";
import { machinePath } from "../api/server";
import type { ServerSentEvent } from "./event_text";
import { Feed } from "./feed";
import { perMachine } from "./per_machine";

/** A call that started something on a machine, and what became of it, as the server remembers it. */
export interface Job {
  id: string | number;
  kind: "download" | "upload" | "process";
  by: string | null;
  startedAt: string;
  /** As it was sent, by this page or by any script. */
  input: Json;
  status: number | null;
  message: string | null;
  pid: number | null;
  jobId: string | null;
  /** Of an upload that a process run started: that run's `id`. */
  parent: string | number | null;
  phase: "asked" | "refused" | "running" | "transferring" | "ended" | "lost";
  transfer: { name: string; bytes: number; total: number } | null;
  endedAt: string | null;
  end: Json;
}

/** As many as the server remembers. */
const MAX_JOBS = 200;

export function isOver(job: Job): boolean {
  return job.phase === "ended" || job.phase === "refused" || job.phase === "lost";
}

/** The jobs of one machine, newest first. */
export class JobsFeed extends Feed {
  readonly jobs = signal<readonly Job[]>([]);
  /** False until the server has told the jobs for the first time. */
  readonly loaded = signal(false);
  protected readonly path: string;

  constructor(machineId: string) {
    super();
    this.path = `${machinePath(machineId)}/jobs`;
  }

  protected override take(events: ServerSentEvent[]): void {
    let jobs = this.jobs.value;
    for (const event of events) jobs = withNews(jobs, parse(event.data));
    this.jobs.value = jobs;
    this.loaded.value = true;
  }
}

/** The jobs after a message of the feed: all of them anew, or one that is new or has changed. */
export function withNews(jobs: readonly Job[], message: Json): readonly Job[] {
  const job = member(message, "job") as Job | undefined;
  if (!job) return member(message, "jobs") ? (list(message, "jobs") as Job[]).toReversed() : jobs;
  if (!jobs.some((known) => known.id === job.id)) return [job, ...jobs].slice(0, MAX_JOBS);
  return jobs.map((known) => (known.id === job.id ? job : known));
}

export const jobsOf = perMachine((machineId) => new JobsFeed(machineId));
