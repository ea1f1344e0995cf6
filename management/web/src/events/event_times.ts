import { type Json, member, text } from "../api/json";
import { jobIdOf } from "../files/leftovers";
import type { MachineEvent } from "../live/events_feed";
import type { Job } from "../live/jobs_feed";

/** When the jobs ended that the events tell of: an event has no time of its own. */
export function endTimes(jobs: readonly Job[]): Map<string, string> {
  const times = new Map<string, string>();
  for (const job of jobs) {
    if (job.endedAt && job.end)
      times.set(key(jobIdOf(job), member(job.end, "runContext")), job.endedAt);
  }
  return times;
}

export function timeOf(event: MachineEvent, times: Map<string, string>): string | undefined {
  const data = member(event.payload, "data");
  return times.get(key(text(data, "jobId"), member(data, "runContext")));
}

/** A file job is told by its identifier, a run of a command by its context alone. */
function key(jobId: string, runContext: Json): string {
  return jobId || `run ${JSON.stringify(runContext)}`;
}
