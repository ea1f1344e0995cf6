import { useEffect, useRef } from "preact/hooks";
import { ProblemNote } from "../components/problem_note";
import { TextField } from "../components/text_field";
import { currentProfile } from "../files/profiles";
import type { MachineInfo } from "../live/live_feed";
import { describeMachine } from "../words";
import { runningOf } from "./running";

export const COMMAND_INPUT_ID = "command-line";

/** The command line and its circumstances. */
export function RunForm({ machine }: { machine: MachineInfo }) {
  const running = runningOf(machine.id);
  const input = useRef<HTMLInputElement>(null);
  useEffect(() => input.current?.focus(), []);
  const usable =
    describeMachine(machine).kind === "connected" &&
    currentProfile() !== undefined &&
    !running.starting.value;
  return (
    <form
      class="panel run-form"
      aria-label="Run a command"
      onSubmit={(event) => {
        event.preventDefault();
        if (usable) running.start();
      }}
    >
      <div class="command-row">
        <TextField
          label="Command line"
          text={running.commandLine}
          inputRef={input}
          id={COMMAND_INPUT_ID}
          class="mono"
          placeholder="ipconfig /all"
        />
        <button
          type="submit"
          class="button primary"
          disabled={!usable || !running.commandLine.value.trim()}
        >
          Run
        </button>
      </div>
      <div class="field-row">
        <TextField
          label="Working folder"
          text={running.workingDir}
          class="mono"
          placeholder="A temporary folder"
        />
        <TextField label="Time limit, seconds" text={running.timeout} narrow numeric />
      </div>
      <details class="extras" open={running.extras.value !== ""}>
        <summary>Bring further files along</summary>
        <label class="field">
          <span>Files or folders to pack with the output, one per line</span>
          <textarea
            class="mono"
            rows={3}
            spellcheck={false}
            placeholder={"report.html\nC:\\Windows\\Temp\\trace.log"}
            value={running.extras.value}
            onInput={(event) => {
              running.extras.value = event.currentTarget.value;
            }}
          />
        </label>
      </details>
      <p class="hint-line">
        Runs without a window and without a shell of its own: begin with <code>cmd /c</code> for{" "}
        <code>dir</code> and the like. The machine logs command lines, so keep passwords out of
        them.
      </p>
      {running.problem.value && <ProblemNote problem={running.problem.value} />}
    </form>
  );
}
