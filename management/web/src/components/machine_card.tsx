import { useEffect, useRef } from "preact/hooks";
import type { MachineInfo } from "../live/live_feed";
import { openSession } from "../sessions/sessions";
import { describeMachine } from "../words";
import { Icon, StateMark } from "./icons";

/** A machine without an open terminal. */
export function MachineCard({ machine }: { machine: MachineInfo }) {
  const words = describeMachine(machine);
  const elsewhere = machine.sessions;
  const open = useRef<HTMLButtonElement>(null);
  // Where the focus is nowhere, as after the last tab was closed, the next thing to do takes it.
  useEffect(() => {
    if (document.activeElement === document.body) open.current?.focus();
  }, []);
  return (
    <div class="card">
      <span class="card-icon">
        <Icon name="screen" size={22} />
      </span>
      <h2>{machine.name}</h2>
      <p class="card-state">
        <StateMark kind={words.kind} />
        {words.long}
      </p>
      <dl>
        <dt>Identifier</dt>
        <dd class="mono">{machine.id}</dd>
        <dt>Remote access</dt>
        <dd>{switchWords(machine.enabled)}</dd>
        <dt>Open terminals</dt>
        <dd>{elsewhere === 0 ? "None" : `${elsewhere}, in other pages or scripts`}</dd>
      </dl>
      <div class="card-actions">
        <button
          ref={open}
          type="button"
          class="button primary"
          disabled={words.kind !== "connected"}
          onClick={() => openSession(machine.id)}
        >
          Open a terminal
        </button>
        <span class="keys">
          <kbd>Ctrl</kbd> <kbd>Alt</kbd> <kbd>T</kbd>
        </span>
      </div>
    </div>
  );
}

function switchWords(enabled: boolean | null): string {
  if (enabled === null) return "Not known yet";
  return enabled ? "Switched on" : "Switched off";
}
