import type { FastifyReply } from "fastify";
import { EventStream } from "../http/event_stream.ts";
import type { Job } from "./job.ts";
import type { JobBoard } from "./job_board.ts";

/** Answers with all jobs, and then each one that changes. A reader that is slow misses what was in between, never the last. */
export function feedJobs(reply: FastifyReply, board: JobBoard): void {
  let begun = false;
  const changed = new Set<Job>();
  const sendOn = () => {
    if (!begun && stream.ready) {
      begun = true;
      stream.send({ jobs: board.jobs });
    }
    for (const job of changed) {
      if (!stream.ready) return;
      changed.delete(job);
      stream.send({ job });
    }
  };
  const stopFollowing = board.follow((job) => {
    changed.add(job);
    sendOn();
  });
  const stream: EventStream = new EventStream(reply, { onReady: sendOn, onEnd: stopFollowing });
  sendOn();
}
