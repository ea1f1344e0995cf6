import { CommandsView } from "../commands/commands_view";
import { EventsView } from "../events/events_view";
import { FilesView } from "../files/files_view";
import type { MachineInfo } from "../live/live_feed";
import { HistoryView } from "../records/history_view";
import { route } from "../routing";
import { describeMachine } from "../words";
import { DrawerButton } from "./drawer_button";
import { EnabledSwitch } from "./enabled_switch";
import { StateMark } from "./icons";
import { ShellView } from "./shell_view";
import { ViewNav } from "./view_nav";

/** What is shown of the selected machine: one of its views. Hidden it stays in the page, for its terminals. */
export function Workspace({ machine, hidden }: { machine: MachineInfo; hidden: boolean }) {
  const words = describeMachine(machine);
  const { view } = route.value;
  return (
    <section class="workspace" aria-label={machine.name} hidden={hidden}>
      <header class="topbar">
        <DrawerButton />
        <h1 class="machine-title">
          <StateMark kind={words.kind} />
          <span>{machine.name}</span>
        </h1>
        <ViewNav machineId={machine.id} />
        <EnabledSwitch key={machine.id} machine={machine} />
      </header>
      <div class="views">
        {/* Terminals stay in the page, so that nothing is lost while they are out of sight. */}
        <ShellView machine={machine} shown={view === "shell"} />
        {view === "files" && <FilesView key={machine.id} machine={machine} />}
        {view === "commands" && <CommandsView key={machine.id} machine={machine} />}
        {view === "events" && <EventsView key={machine.id} machine={machine} />}
        {view === "history" && <HistoryView key={machine.id} machine={machine} />}
      </div>
    </section>
  );
}
