import { useRef } from "preact/hooks";
import { Icon } from "../components/icons";
import { ProblemNote } from "../components/problem_note";
import type { MachineInfo } from "../live/live_feed";
import { describeMachine } from "../words";
import { count, size } from "../words_of_sizes";
import { CheckLine } from "./check_line";
import { pickFiles } from "./picked_files";
import { currentProfile } from "./profiles";
import { type Sending, sendingOf } from "./sending";

// Doubts that need not hold: a missing folder is made, and the free space is judged by the largest file that there could be.
const doubts = new Set<number | string | undefined>([2, 8]);

/** Chooses files and a folder on the machine, and sends. */
export function SendPanel({ machine }: { machine: MachineInfo }) {
  const sending = sendingOf(machine.id);
  const files = sending.files.value;
  const check = sending.folder.check.value;
  const { problem } = sending;
  const ready =
    describeMachine(machine).kind === "connected" &&
    currentProfile() !== undefined &&
    files.length > 0 &&
    !problem &&
    sending.folder.path.value.trim() !== "" &&
    check.phase !== "asking";
  const doubtful = check.phase === "bad" && doubts.has(check.problem.code);
  return (
    <form
      class="panel"
      aria-label="Send files"
      onSubmit={(event) => {
        event.preventDefault();
        if (ready) sending.start({ anyway: false });
      }}
    >
      <h2>
        <Icon name="send" /> Send to {machine.name}
      </h2>
      <DropZone sending={sending} />
      {files.length > 0 && <PickedList sending={sending} />}
      {problem && (
        <ProblemNote problem={problem}>
          <button type="button" class="button small" onClick={() => sending.clear()}>
            Remove all
          </button>
        </ProblemNote>
      )}
      <label class="field">
        <span>Target folder</span>
        <input
          class="mono"
          spellcheck={false}
          autocomplete="off"
          value={sending.folder.path.value}
          aria-describedby="target-check"
          onInput={(event) => sending.folder.change(event.currentTarget.value)}
        />
      </label>
      <CheckLine check={check} id="target-check" />
      <div class="panel-actions">
        <button type="submit" class={doubtful ? "button" : "button primary"} disabled={!ready}>
          {files.length > 0 ? `Send ${count(files.length, "file")}` : "Send"}
        </button>
        {doubtful && files.length > 0 && (
          <button
            type="button"
            class="button primary"
            disabled={!ready}
            onClick={() => sending.start({ anyway: true })}
          >
            {check.problem.code === 2 ? "Make the folder and send" : "Send anyway"}
          </button>
        )}
      </div>
    </form>
  );
}

function DropZone({ sending }: { sending: Sending }) {
  const input = useRef<HTMLInputElement>(null);
  return (
    <div class="drop-zone">
      <p>
        Drop files or folders here, or{" "}
        <button type="button" class="link" onClick={() => input.current?.click()}>
          choose files
        </button>
      </p>
      <input
        ref={input}
        type="file"
        multiple
        class="visually-hidden"
        tabIndex={-1}
        aria-label="Files to send"
        onChange={(event) => {
          sending.add(pickFiles(event.currentTarget.files ?? []));
          event.currentTarget.value = "";
        }}
      />
    </div>
  );
}

function PickedList({ sending }: { sending: Sending }) {
  return (
    <ul class="picked" aria-label="Files to send">
      {sending.files.value.map((picked) => {
        const path = picked.path.join("\\");
        return (
          <li key={path}>
            <span class="picked-name" title={path}>
              {path}
            </span>
            <span class="faint">{size(picked.file.size)}</span>
            <button
              type="button"
              class="small-icon"
              aria-label={`Remove ${path}`}
              onClick={() => sending.remove(picked)}
            >
              <Icon name="close" size={12} />
            </button>
          </li>
        );
      })}
    </ul>
  );
}
