import { refused } from "../live/live_feed";
import { DrawerButton } from "./drawer_button";
import { Icon, StateMark } from "./icons";

/** Before the first machine has connected: how to bring one here. */
export function Welcome() {
  const address = location.origin.replace(/^http/, "ws");
  return (
    <div class="stage">
      <DrawerButton />
      <div class="card">
        <span class="card-icon">
          <Icon name="screen" size={22} />
        </span>
        <h2>No machine yet</h2>
        <p class="card-state">Machines connect to this server by themselves. To bring one here:</p>
        <ol class="steps">
          <li>Put the agent on the Windows machine.</li>
          <li>
            In its configuration, name this server: <code>{address}/api/agent</code>
          </li>
          <li>Give it the enrolment key that this server was started with.</li>
          <li>Start it. The machine appears here within seconds, without a reload.</li>
        </ol>
        {refused.value.length > 0 && (
          <p class="card-note">
            <StateMark kind="refused" />
            {refused.value.length === 1 ? "An agent has" : `${refused.value.length} agents have`}{" "}
            tried with a wrong enrolment key.
          </p>
        )}
      </div>
    </div>
  );
}
