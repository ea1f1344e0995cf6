import { useEffect, useMemo, useRef } from "preact/hooks";
import type { MachineInfo } from "../live/live_feed";
import { count } from "../words_of_sizes";
import { auditList } from "./audit";
import { AuditTable } from "./audit_table";
import { historyOf } from "./history";
import { HistoryTable } from "./history_table";
import { PagedRows } from "./paged_rows";
import { RefreshButton } from "./refresh_button";

// All but looks at the history, which this view takes by itself.
const SHOWN_ACTIONS = ["call", "policy", "terminalOpen", "terminalEnd", "refused"];
/** The machine writes its record once all of a session's end is done. */
const SETTLED_MS = 1000;
const LATE_MS = 3000;

/** What the machine itself keeps of what happened, beside what the server does. */
export function HistoryView({ machine }: { machine: MachineInfo }) {
  const records = historyOf(machine.id);
  const audit = useMemo(
    () => auditList({ machine: machine.id, actions: SHOWN_ACTIONS }),
    [machine.id],
  );
  useEffect(() => {
    records.refresh();
    audit.refresh();
  }, [records, audit]);
  useSessionEnd(machine, async () => {
    audit.refresh();
    if ((await records.refresh()) === 0) setTimeout(() => records.refresh(), LATE_MS);
  });
  const total = records.total.value;
  return (
    <section class="view" aria-label="History">
      <div class="view-body histories">
        <section aria-labelledby="own-history">
          <header class="records-title">
            <h2 id="own-history">On the machine</h2>
            <span class="faint" role="status">
              {total !== undefined && count(total, "record")}
            </span>
            <RefreshButton lists={[records, audit]} one="entry" />
          </header>
          <p class="hint-line">
            What the machine keeps itself. Whoever sits at it can read it too.
          </p>
          <PagedRows list={records} nothing="Nothing has happened yet.">
            <HistoryTable records={records.items.value} />
          </PagedRows>
        </section>
        <section aria-labelledby="server-history">
          <header class="records-title">
            <h2 id="server-history">On this server</h2>
          </header>
          <p class="hint-line">
            What administrators did on this machine, by the server's audit log.
          </p>
          <PagedRows list={audit} nothing="Nobody has done anything on this machine yet.">
            <AuditTable entries={audit.items.value} ofMachine />
          </PagedRows>
        </section>
      </div>
    </section>
  );
}

/** Calls back when a session on the machine has ended, and when it is back. */
function useSessionEnd({ sessions, connected }: MachineInfo, onEnd: () => void): void {
  const before = useRef({ sessions, connected });
  useEffect(() => {
    const last = before.current;
    before.current = { sessions, connected };
    if (sessions >= last.sessions && connected === last.connected) return;
    setTimeout(onEnd, SETTLED_MS); // Also when the next session begins meanwhile.
  }, [sessions, connected]);
}
