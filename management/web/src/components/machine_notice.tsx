import type { MachineInfo } from "../live/live_feed";
import { describeMachine } from "../words";
import { Icon } from "./icons";

/** Why nothing can be started on a machine now. */
export function MachineNotice({ machine }: { machine: MachineInfo }) {
  const { kind, long } = describeMachine(machine);
  if (kind === "connected") return null;
  return (
    <div class="machine-notice">
      <Icon name="warning" />
      <p>
        {kind === "off"
          ? "Remote access is switched off on this machine. Until it is switched on, nothing can be started here."
          : long}
      </p>
    </div>
  );
}
