import { announcement } from "../announce";
import { drawerShown } from "../keyboard";
import { loaded, serverLink } from "../live/live_feed";
import { AuditView } from "../records/audit_view";
import { route } from "../routing";
import { selectedMachine } from "../sessions/sessions";
import { HelpDialog } from "./help_dialog";
import { ServerNotice } from "./server_notice";
import { Sidebar } from "./sidebar";
import { Welcome } from "./welcome";
import { Workspace } from "./workspace";

export function App() {
  const audit = route.value.view === "audit";
  const classes = ["app"];
  if (drawerShown.value) classes.push("drawer-open");
  if (serverLink.value.state === "lost") classes.push("stale");
  return (
    <div class={classes.join(" ")}>
      <Sidebar />
      {/* biome-ignore lint/a11y/noStaticElementInteractions: a veil, beside the drawer's own button and Escape */}
      {/* biome-ignore lint/a11y/useKeyWithClickEvents: as above */}
      <div
        class="drawer-veil"
        onClick={() => {
          drawerShown.value = false;
        }}
      />
      <main class="main">
        <ServerNotice />
        {selectedMachine.value && <Workspace machine={selectedMachine.value} hidden={audit} />}
        {loaded.value && !selectedMachine.value && !audit && <Welcome />}
        {audit && <AuditView />}
      </main>
      <HelpDialog />
      <div class="visually-hidden" role="status">
        {announcement.value}
      </div>
    </div>
  );
}
