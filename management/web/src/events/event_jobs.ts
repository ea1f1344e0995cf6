import { type Json, member, text } from "../api/json";
import { jobIdOf } from "../files/leftovers";
import type { MachineEvent } from "../live/events_feed";
import type { Job } from "../live/jobs_feed";

/** The jobs that have ended, to be found by the events that tell of it: those do not know the command. */
export class EndedJobs {
  readonly #byKey = new Map<string, Job>();

  constructor(jobs: readonly Job[]) {
    for (const job of jobs) {
      if (!job.endedAt || !job.end) continue;
      const jobId = job.kind === "process" ? "" : jobIdOf(job);
      this.#byKey.set(keyOf(jobId, member(job.end, "runContext")), job);
    }
  }

  of(event: MachineEvent): Job | undefined {
    const data = member(event.payload, "data");
    return this.#byKey.get(keyOf(text(data, "jobId"), member(data, "runContext")));
  }
}

/** A file job is told by its identifier, a run of a command by its context alone. */
function keyOf(jobId: string, runContext: Json): string {
  return jobId || `run ${JSON.stringify(runContext)}`;
}
