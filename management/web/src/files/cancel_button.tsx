import { useState } from "preact/hooks";
import { type Problem, problemOf } from "../api/problem";
import { policy } from "../api/server";
import type { Job } from "../live/jobs_feed";
import { problemOfAnswer } from "../words_of_codes";
import { jobIdOf } from "./leftovers";

/** Cancels a file job that is under way. */
export function CancelButton({
  machineId,
  job,
  title,
  onProblem,
}: {
  machineId: string;
  job: Job;
  title: string;
  onProblem(problem: Problem | undefined): void;
}) {
  const [cancelling, setCancelling] = useState(false);
  const cancel = async () => {
    setCancelling(true);
    onProblem(undefined);
    try {
      const method = job.kind === "download" ? "CancelDownload" : "CancelUpload";
      const answer = await policy(machineId, method, { jobId: jobIdOf(job) });
      onProblem(problemOfAnswer(answer, "cancel"));
    } catch (error) {
      onProblem(problemOf(error));
    } finally {
      setCancelling(false);
    }
  };
  return (
    <button
      type="button"
      class="button small"
      aria-label={`Cancel ${title}`}
      disabled={cancelling}
      onClick={cancel}
    >
      Cancel
    </button>
  );
}
