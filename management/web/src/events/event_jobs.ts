import { type Json, member, text } from "../api/json";
import { jobIdOf } from "../files/leftovers";
import type { MachineEvent } from "../live/events_feed";
import type { Job } from "../live/jobs_feed";

/** The jobs that have ended, to be found by the events that tell of it: those do not know the command. */
export class EndedJobs {
  readonly #byKey = new Map<string, Job>();
  readonly #byId = new Map<Job["id"], Job>();

  constructor(jobs: readonly Job[]) {
    for (const job of jobs) {
      this.#byId.set(job.id, job);
      if (!job.endedAt || !job.end) continue;
      const jobId = job.kind === "process" ? "" : jobIdOf(job);
      this.#byKey.set(keyOf(jobId, member(job.end, "runContext")), job);
    }
  }

  /** The command line that the event is of, or whose output it tells of; empty where it is of none. */
  commandOf(event: MachineEvent): string {
    const data = member(event.payload, "data");
    const job = this.#byKey.get(keyOf(text(data, "jobId"), member(data, "runContext")));
    const run = job && job.parent !== null ? this.#byId.get(job.parent) : job;
    return text(run?.input, "execute", "commandLine");
  }
}

/** A file job is told by its identifier, a run of a command by its context alone. */
function keyOf(jobId: string, runContext: Json): string {
  return jobId || `run ${JSON.stringify(runContext)}`;
}
