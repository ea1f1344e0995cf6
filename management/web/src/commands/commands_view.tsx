import { FeedNote } from "../components/feed_note";
import { MachineNotice } from "../components/machine_notice";
import { ProblemNote } from "../components/problem_note";
import { profilesProblem } from "../files/profiles";
import type { MachineInfo } from "../live/live_feed";
import { useJobs } from "../live/use_jobs";
import { RunForm } from "./run_form";
import { RunRow } from "./run_row";

/** Command lines on a machine: the next one, and all that were run. */
export function CommandsView({ machine }: { machine: MachineInfo }) {
  const feed = useJobs(machine.id);
  const runs = feed.jobs.value.filter(({ kind }) => kind === "process");
  return (
    <section class="view" aria-label="Commands">
      <div class="view-body one-column">
        <MachineNotice machine={machine} />
        {profilesProblem.value && <ProblemNote problem={profilesProblem.value} />}
        <RunForm machine={machine} />
        <FeedNote feed={feed} />
        <ol class="runs" aria-label="Runs">
          {runs.map((run, index) => (
            <RunRow
              key={run.id}
              machineId={machine.id}
              run={run}
              upload={feed.jobs.value.find(({ parent }) => parent === run.id)}
              newest={index === 0}
            />
          ))}
        </ol>
        {feed.loaded.value && runs.length === 0 && (
          <p class="nothing">No command has been run on this machine yet.</p>
        )}
      </div>
    </section>
  );
}
