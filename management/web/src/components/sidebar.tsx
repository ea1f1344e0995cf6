import { drawerShown, helpShown } from "../keyboard";
import { loaded, type MachineInfo, machines, type RefusedAgent, refused } from "../live/live_feed";
import { AUDIT_HASH, goToAudit, route } from "../routing";
import { selectedMachine, selectMachine, sessionsOf } from "../sessions/sessions";
import { currentTheme, toggleTheme } from "../theme";
import { describeMachine, describeRefusal, moment } from "../words";
import { count } from "../words_of_sizes";
import { Icon, StateMark } from "./icons";

export function Sidebar() {
  const strangers = refused.value.filter(
    (agent) => !machines.value.some((machine) => machine.id === agent.id),
  );
  return (
    <aside
      class="sidebar"
      onKeyDown={(event) => {
        if (event.key === "Escape") drawerShown.value = false;
      }}
    >
      <header class="brand">
        <img src="/icon.svg" alt="" width="24" height="24" />
        <span>RemoteAccess</span>
      </header>
      <nav class="machines" aria-labelledby="machines-title">
        <h2 id="machines-title">
          Machines
          {machines.value.length > 0 && <ConnectedCount />}
        </h2>
        <ul onKeyDown={moveBetweenMachines}>
          {machines.value.map((machine) => (
            <li key={machine.id}>
              <MachineRow machine={machine} />
            </li>
          ))}
          {strangers.map((agent) => (
            <li key={agent.id}>
              <RefusedRow agent={agent} />
            </li>
          ))}
        </ul>
        {loaded.value && machines.value.length + strangers.length === 0 && (
          <p class="none-yet">None has connected yet.</p>
        )}
      </nav>
      <a
        class="audit-link"
        href={AUDIT_HASH}
        aria-current={route.value.view === "audit" ? "page" : undefined}
        title="What administrators did (Ctrl+Alt+L)"
        onClick={(event) => {
          if (event.ctrlKey || event.metaKey || event.shiftKey) return;
          event.preventDefault();
          goToAudit();
          drawerShown.value = false;
        }}
      >
        <Icon name="log" />
        Audit log
      </a>
      <Footer />
    </aside>
  );
}

function ConnectedCount() {
  const connected = machines.value.filter((machine) => machine.connected).length;
  return (
    <span class="count">
      {connected} of {machines.value.length} connected
    </span>
  );
}

function MachineRow({ machine }: { machine: MachineInfo }) {
  const words = describeMachine(machine);
  const here = sessionsOf(machine.id).length;
  return (
    <button
      type="button"
      class="machine"
      aria-current={route.value.view !== "audit" && machine.id === selectedMachine.value?.id}
      title={words.long}
      onClick={() => {
        selectMachine(machine.id);
        drawerShown.value = false;
      }}
    >
      <StateMark kind={words.kind} />
      <span class="machine-name">{machine.name}</span>
      {here > 0 && (
        <span class="badge" title={`${count(here, "terminal")} in this page`}>
          {here}
        </span>
      )}
      <span class={`machine-state ${words.kind}`}>{words.short}</span>
    </button>
  );
}

/** An agent that never got in: there is nothing to choose, only to know. */
function RefusedRow({ agent }: { agent: RefusedAgent }) {
  const words = describeRefusal(agent);
  return (
    <div class="machine stranger" title={words.long}>
      <StateMark kind="refused" />
      <span class="machine-name">{agent.name || agent.id || "Without a name"}</span>
      <span class="machine-state refused">
        {words.short}, {moment(agent.at)}
      </span>
    </div>
  );
}

function Footer() {
  const other = currentTheme() === "dark" ? "light" : "dark";
  return (
    <footer class="sidebar-footer">
      <button
        type="button"
        class="icon-button"
        aria-label={`Use the ${other} theme`}
        title={`Use the ${other} theme`}
        onClick={toggleTheme}
      >
        <Icon name={other === "dark" ? "moon" : "sun"} />
      </button>
      <button
        type="button"
        class="icon-button"
        aria-label="Keyboard shortcuts"
        title="Keyboard shortcuts (Ctrl+Alt+H)"
        onClick={() => {
          helpShown.value = true;
        }}
      >
        <Icon name="help" />
      </button>
      <form method="post" action="/sign-out">
        <button type="submit" class="text-button">
          <Icon name="exit" />
          Sign out
        </button>
      </form>
    </footer>
  );
}

function moveBetweenMachines(event: KeyboardEvent): void {
  const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
  if (!step) return;
  const rows = [...document.querySelectorAll<HTMLElement>("button.machine")];
  const at = rows.indexOf(document.activeElement as HTMLElement);
  rows[at + step]?.focus();
  event.preventDefault();
}
