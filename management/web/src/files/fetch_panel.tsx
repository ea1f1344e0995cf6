import { useState } from "preact/hooks";
import { Icon } from "../components/icons";
import { ProblemNote } from "../components/problem_note";
import { TextField } from "../components/text_field";
import type { MachineInfo } from "../live/live_feed";
import { describeMachine } from "../words";
import { count, size } from "../words_of_sizes";
import { CheckLine } from "./check_line";
import { type Fetching, fetchingOf } from "./fetching";
import type { CheckedPath } from "./path_check";
import { currentProfile } from "./profiles";

/** Gathers paths of the machine, shows what is there, and fetches them as one archive. */
export function FetchPanel({ machine }: { machine: MachineInfo }) {
  const fetching = fetchingOf(machine.id);
  const paths = fetching.paths.value;
  const accepted = fetching.accepted.value;
  const usable = describeMachine(machine).kind === "connected" && currentProfile() !== undefined;
  const ready = usable && accepted.length > 0 && !fetching.asking.value && !fetching.starting.value;
  return (
    <section class="panel" aria-label="Fetch files">
      <h2>
        <Icon name="fetch" /> Fetch from {machine.name}
      </h2>
      <AddPath fetching={fetching} usable={usable} />
      {paths.length > 0 && (
        <ul class="paths" aria-label="Paths to fetch">
          {paths.map((path) => (
            <PathRow key={path.path.value} fetching={fetching} path={path} />
          ))}
        </ul>
      )}
      <form
        onSubmit={(event) => {
          event.preventDefault();
          if (ready) fetching.start();
        }}
      >
        <div class="field-row">
          <TextField label="Archive name" text={fetching.name} placeholder="By machine and time" />
          <label class="field">
            <span>Password</span>
            <input
              type="password"
              autocomplete="new-password"
              placeholder="None"
              value={fetching.password.value}
              onInput={(event) => {
                fetching.password.value = event.currentTarget.value;
              }}
            />
          </label>
        </div>
        {fetching.password.value && (
          <p class="hint-line">
            Encrypted with AES-256: 7-Zip and most archivers open it, Windows' own Explorer does
            not.
          </p>
        )}
        {fetching.problem.value && <ProblemNote problem={fetching.problem.value} />}
        <div class="panel-actions">
          <button type="submit" class="button primary" disabled={!ready}>
            {fetchLabel(accepted.length, paths.length)}
          </button>
          {accepted.length > 0 && <Total accepted={accepted} />}
        </div>
      </form>
    </section>
  );
}

function fetchLabel(accepted: number, all: number): string {
  if (accepted === 0) return "Fetch";
  return accepted === all
    ? `Fetch ${count(all, "path")}`
    : `Fetch ${accepted} of ${count(all, "path")}`;
}

function Total({ accepted }: { accepted: readonly CheckedPath[] }) {
  let files = 0;
  let bytes = 0;
  for (const { check } of accepted) {
    if (check.value.phase !== "good") continue;
    files += check.value.fileCount ?? 0;
    bytes += check.value.size ?? 0;
  }
  return (
    <span class="faint">
      {count(files, "file")}, {size(bytes)}
    </span>
  );
}

function AddPath({ fetching, usable }: { fetching: Fetching; usable: boolean }) {
  const [path, setPath] = useState("");
  return (
    <form
      class="add-path"
      onSubmit={(event) => {
        event.preventDefault();
        if (!usable) return;
        fetching.add(path);
        setPath("");
      }}
    >
      <label class="field">
        <span>File or folder on the machine</span>
        <input
          class="mono"
          spellcheck={false}
          autocomplete="off"
          placeholder="C:\Windows\Logs"
          value={path}
          onInput={(event) => setPath(event.currentTarget.value)}
          onPaste={(event) => {
            const pasted = event.clipboardData?.getData("text") ?? "";
            if (!usable || !pasted.trim().includes("\n")) return;
            event.preventDefault();
            fetching.add(pasted);
          }}
        />
      </label>
      <button type="submit" class="button" disabled={!usable || !path.trim()}>
        Add
      </button>
    </form>
  );
}

function PathRow({ fetching, path }: { fetching: Fetching; path: CheckedPath }) {
  const check = path.check.value;
  return (
    <li>
      <span class="mono path-name">{path.path.value}</span>
      {check.phase === "bad" && (
        <button
          type="button"
          class="small-icon"
          aria-label={`Check ${path.path.value} again`}
          title="Check again"
          onClick={() => fetching.check(path)}
        >
          <Icon name="again" size={12} />
        </button>
      )}
      <button
        type="button"
        class="small-icon"
        aria-label={`Remove ${path.path.value}`}
        onClick={() => fetching.remove(path)}
      >
        <Icon name="close" size={12} />
      </button>
      <CheckLine check={check} />
    </li>
  );
}
