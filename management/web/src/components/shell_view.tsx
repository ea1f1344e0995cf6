import type { MachineInfo } from "../live/live_feed";
import { frontSession, openSession, sessions, shownSessions } from "../sessions/sessions";
import { TerminalPane } from "../terminal/terminal_pane";
import { describeMachine, describeSession } from "../words";
import { Icon } from "./icons";
import { MachineCard } from "./machine_card";
import { TabStrip } from "./tab_strip";

/** The terminals of a machine, or itself when it has none open. */
export function ShellView({ machine, shown }: { machine: MachineInfo; shown: boolean }) {
  const words = describeMachine(machine);
  const session = frontSession.value;
  const size = session?.size.value;
  return (
    <div class="shell-view" hidden={!shown}>
      {shownSessions.value.length > 0 && (
        <div class="terminal-bar">
          <TabStrip />
          <button
            type="button"
            class="icon-button"
            aria-label="New terminal"
            title="New terminal (Ctrl+Alt+T)"
            disabled={words.kind !== "connected"}
            onClick={() => openSession(machine.id)}
          >
            <Icon name="plus" />
          </button>
        </div>
      )}
      <div class="stage">
        {sessions.value.map((each) => (
          <TerminalPane key={each.id} session={each} />
        ))}
        {shown && shownSessions.value.length === 0 && <MachineCard machine={machine} />}
      </div>
      <footer class="statusbar">
        <span class="push">{session ? describeSession(session.state.value) : words.short}</span>
        {size && (
          <span title="Columns × rows">
            {size.cols} × {size.rows}
          </span>
        )}
        <span class="hint">
          <kbd>Ctrl</kbd> <kbd>Alt</kbd> <kbd>H</kbd> for help
        </span>
      </footer>
    </div>
  );
}
