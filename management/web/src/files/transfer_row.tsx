import { useState } from "preact/hooks";
import { list, text } from "../api/json";
import type { Problem } from "../api/problem";
import { Icon } from "../components/icons";
import { ProblemWords } from "../components/problem_note";
import { ProgressBar } from "../components/progress_bar";
import { isOver, type Job } from "../live/jobs_feed";
import { useEndAnnounced } from "../live/use_end_announced";
import { moment } from "../words";
import { describePackedItem, describeSentItem } from "../words_of_codes";
import { describeTransfer } from "../words_of_jobs";
import { count, size } from "../words_of_sizes";
import { ArchiveActions } from "./archive_actions";
import { CancelButton } from "./cancel_button";
import { jobIdOf, sizesOf } from "./leftovers";
import { type ItemResult, itemResults, storedArchive } from "./stored_archive";

/** One transfer: what and where, how far, and in the end what became of each item. */
export function TransferRow({ machineId, job }: { machineId: string; job: Job }) {
  const { title, place, state } = describeTransfer(job);
  useEndAnnounced(job, `${title}: ${state.text}`);
  const [problem, setProblem] = useState<Problem>();
  const archive = job.kind === "upload" ? storedArchive(job.end) : undefined;
  const progress = progressOf(job);

  return (
    <li class="transfer">
      <span class="transfer-icon" title={job.kind === "download" ? "Sent" : "Fetched"}>
        <Icon name={job.kind === "download" ? "send" : "fetch"} />
      </span>
      <div class="transfer-name">
        <strong title={title}>{title}</strong>
        <span title={place}>{place}</span>
      </div>
      <div class="transfer-side">
        <div class={`transfer-state ${state.tone}`}>
          <span>{state.text}</span>
          <span class="faint">
            {job.transfer && !isOver(job)
              ? `${size(progress.value ?? 0)} of ${size(progress.total ?? 0)}`
              : moment(job.endedAt ?? job.startedAt)}
          </span>
        </div>
        <div class="transfer-actions">
          {archive && (
            <ArchiveActions upload={job} archive={archive} title={title} onProblem={setProblem} />
          )}
          {!isOver(job) && job.phase !== "asked" && (
            <CancelButton machineId={machineId} job={job} title={title} onProblem={setProblem} />
          )}
        </div>
      </div>
      {!isOver(job) && <ProgressBar label={title} {...progress} />}
      {[state.problem, problem].map(
        (each) =>
          each && (
            <p key={each.text} class="transfer-problem">
              <ProblemWords problem={each} />
            </p>
          ),
      )}
      {job.phase === "ended" && <Items job={job} />}
    </li>
  );
}

function Items({ job }: { job: Job }) {
  const sends = job.kind === "download";
  const items = itemResults(job.end, sends ? "to" : "pattern");
  const [open, setOpen] = useState(items.some(({ code }) => code !== 0));
  if (items.length === 0) return null;
  return (
    <details
      class="transfer-items"
      open={open}
      onToggle={(event) => setOpen(event.currentTarget.open)}
    >
      <summary>{count(items.length, sends ? "file" : "path")}</summary>
      {open && (
        <ul>
          {items.map((item, index) => (
            <Item key={`${index}${item.path}`} item={item} sends={sends} />
          ))}
        </ul>
      )}
    </details>
  );
}

function Item({ item, sends }: { item: ItemResult; sends: boolean }) {
  const words = sends ? describeSentItem(item.code) : describePackedItem(item.code);
  const said = item.word && item.word !== "success" ? { said: item.word } : {};
  const problem =
    item.code === 0 ? { text: words.text } : { text: words.text, code: item.code, ...said };
  return (
    <li>
      <span class="mono">{item.path}</span>
      <span class={words.tone}>
        <ProblemWords problem={problem} />
      </span>
    </li>
  );
}

/** Bytes of the whole where the sizes of all files are known, else of the file under way. */
function progressOf(job: Job): { value?: number; total?: number } {
  const { transfer } = job;
  if (!transfer) return {};
  const sizes = sizesOf(jobIdOf(job));
  const names = list(job.input, "items").map((item) => text(item, "sourceUri"));
  const at = names.indexOf(transfer.name);
  if (job.kind !== "download" || at < 0 || names.some((name) => sizes[name] === undefined)) {
    return { value: transfer.bytes, total: transfer.total };
  }
  const sum = (list: string[]) => list.reduce((total, name) => total + (sizes[name] ?? 0), 0);
  return { value: sum(names.slice(0, at)) + transfer.bytes, total: sum(names) };
}
