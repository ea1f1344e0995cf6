import { machines } from "../live/live_feed";
import type { Session } from "../sessions/session";
import { closeSession, isReachable } from "../sessions/sessions";
import type { SessionEnd } from "../sessions/terminal_link";
import { describeEnd } from "../words";
import { Icon } from "./icons";

/** The line under a terminal whose session has ended: what happened, and the way on. */
export function EndNotice({ session, end }: { session: Session; end: SessionEnd }) {
  const machine = machines.value.find(({ id }) => id === session.machineId);
  const words = describeEnd(end, { off: machine?.enabled === false });
  return (
    <div class={`end-notice ${words.tone}`}>
      <span class="end-icon">
        <Icon name={words.tone === "calm" ? "done" : "warning"} />
      </span>
      <p>
        <strong>{words.title}.</strong> {words.text}
        {end.code !== undefined && <span class="code">Code {end.code}</span>}
      </p>
      <div class="end-actions">
        <button
          type="button"
          class="button"
          disabled={!isReachable(session.machineId)}
          onClick={() => {
            session.open();
            session.terminal.focus();
          }}
        >
          Open again <kbd>Enter</kbd>
        </button>
        <button type="button" class="button quiet" onClick={() => closeSession(session)}>
          Close
        </button>
      </div>
    </div>
  );
}
