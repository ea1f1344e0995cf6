import { useEffect, useRef, useState } from "preact/hooks";
import { type Problem, problemOf } from "../api/problem";
import { policy } from "../api/server";
import type { MachineInfo } from "../live/live_feed";
import { problemOfAnswer } from "../words_of_codes";
import { count } from "../words_of_sizes";
import { ProblemNote } from "./problem_note";

/** The switch of remote access on one machine. Off is asked for twice, since it ends what is open. */
export function EnabledSwitch({ machine }: { machine: MachineInfo }) {
  const [busy, setBusy] = useState(false);
  const [problem, setProblem] = useState<Problem>();
  const [asking, setAsking] = useState(false);
  const unknown = !machine.connected || machine.enabled === null;
  const on = machine.enabled === true;

  const set = async (enabled: boolean) => {
    setBusy(true);
    setProblem(undefined);
    try {
      const answer = await policy(machine.id, "SetEnabled", { enabled });
      const refusal = problemOfAnswer(answer, "switch");
      setProblem(refusal);
      if (!refusal) setAsking(false);
    } catch (error) {
      setProblem(problemOf(error));
    } finally {
      setBusy(false);
    }
  };

  return (
    <div class="enabled-switch">
      <button
        type="button"
        class="switch"
        role="switch"
        aria-checked={on}
        aria-label="Remote access"
        title={switchTitle(machine)}
        disabled={unknown || busy}
        onClick={() => {
          setProblem(undefined);
          if (on) setAsking(true);
          else set(true);
        }}
      >
        <span class="switch-label">Remote access</span>
        <span class="switch-state">{machine.enabled === null ? "…" : on ? "On" : "Off"}</span>
        <span class="switch-track" />
      </button>
      <OffDialog
        shown={asking}
        machine={machine}
        busy={busy}
        problem={problem}
        onConfirm={() => set(false)}
        onClose={() => {
          setAsking(false);
          setProblem(undefined);
        }}
      />
      {!asking && problem && (
        <div class="switch-problem">
          <ProblemNote problem={problem}>
            <button type="button" class="button quiet" onClick={() => setProblem(undefined)}>
              Dismiss
            </button>
          </ProblemNote>
        </div>
      )}
    </div>
  );
}

function switchTitle({ connected, enabled }: MachineInfo): string {
  if (!connected) return "The machine is not connected";
  if (enabled === null) return "Not known yet";
  return enabled ? "Switch remote access off" : "Switch remote access on";
}

function OffDialog({
  shown,
  machine,
  busy,
  problem,
  onConfirm,
  onClose,
}: {
  shown: boolean;
  machine: MachineInfo;
  busy: boolean;
  problem: Problem | undefined;
  onConfirm(): void;
  onClose(): void;
}) {
  const dialog = useRef<HTMLDialogElement>(null);
  useEffect(() => {
    if (shown) dialog.current?.showModal();
    else dialog.current?.close();
  }, [shown]);
  const shells = machine.sessions;
  return (
    <dialog ref={dialog} class="dialog" aria-labelledby="off-title" onClose={onClose}>
      <h2 id="off-title">Switch remote access off on {machine.name}?</h2>
      <p>
        {shells === 0
          ? "No shell is open there now. "
          : `${count(shells, "open shell")} there ${shells === 1 ? "ends" : "end"} at once. `}
        Nobody can open a shell, send or fetch files or run commands until it is switched on again,
        here or on the machine.
      </p>
      {shown && problem && <ProblemNote problem={problem} />}
      <div class="dialog-actions">
        <button type="button" class="button" onClick={onClose}>
          Cancel
        </button>
        <button type="button" class="button danger" disabled={busy} onClick={onConfirm}>
          Switch off
        </button>
      </div>
    </dialog>
  );
}
