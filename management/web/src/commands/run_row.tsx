import { useEffect, useState } from "preact/hooks";
import { text } from "../api/json";
import type { Problem } from "../api/problem";
import { Icon } from "../components/icons";
import { ProblemWords } from "../components/problem_note";
import { ProgressBar } from "../components/progress_bar";
import { ArchiveActions } from "../files/archive_actions";
import { CancelButton } from "../files/cancel_button";
import { isGone } from "../files/gone_archives";
import { storedArchive } from "../files/stored_archive";
import { isOver, type Job } from "../live/jobs_feed";
import { useEndAnnounced } from "../live/use_end_announced";
import { moment } from "../words";
import { describeRun, describeTransfer } from "../words_of_jobs";
import { duration, size } from "../words_of_sizes";
import { OutputPane } from "./output_pane";
import { COMMAND_INPUT_ID } from "./run_form";
import { runningOf } from "./running";

/** One run: the command, how it ended, and what it wrote. */
export function RunRow({
  machineId,
  run,
  upload,
  newest,
}: {
  machineId: string;
  run: Job;
  upload: Job | undefined;
  newest: boolean;
}) {
  const [chosen, setChosen] = useState<boolean>();
  const [problem, setProblem] = useState<Problem>();
  const open = chosen ?? newest;
  const command = text(run.input, "execute", "commandLine");
  const state = describeRun(run);
  useEndAnnounced(run, `${command}: ${state.text}`);
  const archive = upload && storedArchive(upload.end);
  return (
    <li class="run">
      <div class="run-head">
        <button
          type="button"
          class="run-toggle"
          aria-expanded={open}
          onClick={() => setChosen(!open)}
        >
          <Icon name="chevron" size={14} />
          <code class="run-command">{command}</code>
        </button>
        <span class={`run-state ${state.tone}`}>{state.text}</span>
        <span class="run-time">
          {isOver(run) ? moment(run.startedAt) : <Elapsed since={run.startedAt} />}
        </span>
      </div>
      {!isOver(run) && <ProgressBar label={`Running ${command}`} />}
      {state.problem && (
        <p class="run-problem">
          <ProblemWords problem={state.problem} />
        </p>
      )}
      {open && (
        <div class="run-body">
          {upload && <Output upload={upload} />}
          <div class="run-actions">
            <button
              type="button"
              class="button small"
              onClick={() => {
                runningOf(machineId).reuse(run);
                document.getElementById(COMMAND_INPUT_ID)?.focus();
              }}
            >
              <Icon name="again" size={13} /> Use again
            </button>
            {upload && archive && !isGone(upload) && (
              <ArchiveActions
                upload={upload}
                archive={archive}
                title={`of ${command}`}
                label="Whole archive"
                onProblem={setProblem}
              />
            )}
            {upload && !isOver(upload) && upload.phase !== "asked" && (
              <CancelButton
                machineId={machineId}
                job={upload}
                title={`the output of ${command}`}
                onProblem={setProblem}
              />
            )}
            <Facts run={run} />
          </div>
          {problem && (
            <p class="run-problem">
              <ProblemWords problem={problem} />
            </p>
          )}
        </div>
      )}
    </li>
  );
}

function Facts({ run }: { run: Job }) {
  const folder = text(run.input, "execute", "workingDir");
  const facts = [
    folder ? `in ${folder}` : "in a temporary folder",
    run.endedAt
      ? `took ${duration(Date.parse(run.endedAt) - Date.parse(run.startedAt))}`
      : `limit ${duration(Number(text(run.input, "execute", "timeout")) * 1000)}`,
  ];
  if (run.pid) facts.push(`process ${run.pid}`);
  return <span class="faint">{facts.join(" · ")}</span>;
}

/** The output, or how far it is. */
function Output({ upload }: { upload: Job }) {
  const { state } = describeTransfer(upload);
  const archive = storedArchive(upload.end);
  if (archive && isGone(upload)) {
    return <p class="run-waiting">The output has been deleted from the server.</p>;
  }
  if (archive) return <OutputPane upload={upload} />;
  if (isOver(upload)) {
    return (
      <p class="run-problem">
        The output did not come back: {state.text.toLowerCase()}.{" "}
        {state.problem && <ProblemWords problem={state.problem} />}
      </p>
    );
  }
  const { transfer } = upload;
  return (
    <>
      <p class="run-waiting">
        {transfer
          ? `Output on its way: ${size(transfer.bytes)} of ${size(transfer.total)}`
          : "The output is being packed on the machine…"}
      </p>
      <ProgressBar label="Output" value={transfer?.bytes} total={transfer?.total} />
    </>
  );
}

function Elapsed({ since }: { since: string }) {
  const [now, setNow] = useState(Date.now());
  useEffect(() => {
    const timer = setInterval(() => setNow(Date.now()), 1000);
    return () => clearInterval(timer);
  }, []);
  return <>{duration(now - Date.parse(since))}</>;
}
