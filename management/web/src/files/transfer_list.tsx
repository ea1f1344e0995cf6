import { FeedNote } from "../components/feed_note";
import { Icon } from "../components/icons";
import { ProblemWords } from "../components/problem_note";
import { ProgressBar } from "../components/progress_bar";
import { jobsOf } from "../live/jobs_feed";
import { count, size } from "../words_of_sizes";
import { type Sending, sendingOf, type Upload } from "./sending";
import { TransferRow } from "./transfer_row";

/** What is on its way and what came and went, newest first, whoever started it. */
export function TransferList({ machineId }: { machineId: string }) {
  const feed = jobsOf(machineId);
  // The outputs of commands are shown with those.
  const transfers = feed.jobs.value.filter(
    ({ kind, parent }) => kind !== "process" && parent === null,
  );
  const sending = sendingOf(machineId);
  const uploads = sending.uploads.value;
  return (
    <section class="transfers" aria-label="Transfers">
      <h2>Transfers</h2>
      <FeedNote feed={feed} />
      <ul>
        {uploads.map((upload) => (
          <UploadRow key={upload.jobId} sending={sending} upload={upload} />
        ))}
        {transfers.map((job) => (
          <TransferRow key={job.id} machineId={machineId} job={job} />
        ))}
      </ul>
      {feed.loaded.value && uploads.length + transfers.length === 0 && (
        <p class="nothing">Nothing has been sent or fetched yet.</p>
      )}
    </section>
  );
}

const uploadStates = {
  storing: "To the server",
  asking: "Asking the machine…",
  failed: "Not sent",
};

/** Files that are still on their way from this page to the server. */
function UploadRow({ sending, upload }: { sending: Sending; upload: Upload }) {
  const state = upload.state.value;
  const name = upload.files[0]?.file.name ?? "";
  const title = upload.files.length === 1 ? name : count(upload.files.length, "file");
  const failed = state.phase === "failed";
  return (
    <li class="transfer">
      <span class="transfer-icon">
        <Icon name="send" />
      </span>
      <div class="transfer-name">
        <strong title={title}>{title}</strong>
        <span title={upload.folder}>to {upload.folder}</span>
      </div>
      <div class="transfer-side">
        <div class={`transfer-state ${failed ? "bad" : "calm"}`}>
          <span>{uploadStates[state.phase]}</span>
          {state.phase === "storing" && (
            <span class="faint">
              {size(upload.bytes.value)} of {size(upload.total)}
            </span>
          )}
        </div>
        <div class="transfer-actions">
          {state.phase === "storing" && (
            <button
              type="button"
              class="button small"
              aria-label={`Cancel ${title}`}
              onClick={() => upload.cancel.abort()}
            >
              Cancel
            </button>
          )}
          {failed && (
            <>
              <button type="button" class="button small" onClick={() => sending.retry(upload)}>
                Try again
              </button>
              <button
                type="button"
                class="small-icon"
                aria-label={`Forget ${title}`}
                title="Forget it"
                onClick={() => sending.dismiss(upload)}
              >
                <Icon name="close" size={12} />
              </button>
            </>
          )}
        </div>
      </div>
      {!failed && (
        <ProgressBar
          label={`${title}, to the server`}
          value={state.phase === "storing" ? upload.bytes.value : undefined}
          total={upload.total}
        />
      )}
      {failed && (
        <p class="transfer-problem">
          <ProblemWords problem={state.problem} />
        </p>
      )}
    </li>
  );
}
