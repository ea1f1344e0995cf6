import type { MachineInfo } from "../live/live_feed";
import { frontSession, openSession, sessions, shownSessions } from "../sessions/sessions";
import { TerminalPane } from "../terminal/terminal_pane";
import { describeMachine, describeSession } from "../words";
import { DrawerButton } from "./drawer_button";
import { Icon, StateMark } from "./icons";
import { MachineCard } from "./machine_card";
import { TabStrip } from "./tab_strip";

/** What is shown of the selected machine: its terminals, or itself when it has none open. */
export function Workspace({ machine }: { machine: MachineInfo }) {
  const words = describeMachine(machine);
  const session = frontSession.value;
  const size = session?.size.value;
  return (
    <section class="workspace" aria-label={machine.name}>
      <header class="topbar">
        <DrawerButton />
        <h1 class="machine-title">
          <StateMark kind={words.kind} />
          {machine.name}
        </h1>
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
      </header>
      <div class="stage">
        {/* Screens of other machines stay in the page, so that nothing is lost while they are out of sight. */}
        {sessions.value.map((session) => (
          <TerminalPane key={session.id} session={session} />
        ))}
        {shownSessions.value.length === 0 && <MachineCard machine={machine} />}
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
    </section>
  );
}
