import { useEffect, useMemo, useState } from "preact/hooks";
import { DrawerButton } from "../components/drawer_button";
import { Icon } from "../components/icons";
import { machines } from "../live/live_feed";
import { describeWho } from "../words_of_audit";
import { type AuditFilter, auditList } from "./audit";
import { AuditTable } from "./audit_table";
import { PagedRows } from "./paged_rows";
import { RefreshButton } from "./refresh_button";

const kinds: Array<{ title: string; actions: string[] }> = [
  { title: "All", actions: [] },
  { title: "Shells", actions: ["terminalOpen", "terminalEnd"] },
  { title: "Requests", actions: ["call", "policy", "history"] },
  { title: "Stored files", actions: ["storagePut", "storageGet", "storageDelete"] },
  { title: "Access", actions: ["signIn", "signInRefused", "signOut", "refused"] },
  { title: "Server", actions: ["serverStart", "serverStop"] },
];

/** The server's audit log: what administrators did, on all machines and on the server itself. */
export function AuditView() {
  const [kind, setKind] = useState(0);
  const [machine, setMachine] = useState("");
  const [who, setWho] = useState("");
  const [failed, setFailed] = useState(false);
  const list = useMemo(() => {
    const filter: AuditFilter = { actions: kinds[kind]?.actions ?? [], failed };
    if (machine) filter.machine = machine;
    if (who) filter.who = who;
    return auditList(filter);
  }, [kind, machine, who, failed]);
  useEffect(() => void list.refresh(), [list]);
  return (
    <section class="audit" aria-labelledby="audit-title">
      <header class="topbar">
        <DrawerButton />
        <h1 id="audit-title" class="page-title">
          Audit log
        </h1>
        <RefreshButton lists={[list]} one="entry" />
      </header>
      <div class="views">
        <div class="view">
          <div class="view-body audit-body">
            <search class="filters">
              <select
                aria-label="Machine"
                value={machine}
                onChange={(event) => setMachine(event.currentTarget.value)}
              >
                <option value="">All machines</option>
                {machines.value.map(({ id, name }) => (
                  <option key={id} value={id}>
                    {name}
                  </option>
                ))}
              </select>
              <fieldset class="chips">
                <legend class="visually-hidden">Kind of action</legend>
                {kinds.map(({ title }, index) => (
                  <label key={title} class="chip">
                    <input
                      type="radio"
                      name="action-kind"
                      class="visually-hidden"
                      checked={kind === index}
                      onChange={() => setKind(index)}
                    />
                    {title}
                  </label>
                ))}
              </fieldset>
              <label class="chip">
                <input
                  type="checkbox"
                  class="visually-hidden"
                  checked={failed}
                  onChange={(event) => setFailed(event.currentTarget.checked)}
                />
                Only failed
              </label>
              {who && (
                <button
                  type="button"
                  class="chip chosen"
                  title="Show what everybody did"
                  onClick={() => setWho("")}
                >
                  {describeWho(who)} <Icon name="close" size={11} />
                </button>
              )}
            </search>
            <PagedRows list={list} nothing="There is no such entry.">
              <AuditTable entries={list.items.value} onWho={setWho} />
            </PagedRows>
          </div>
        </div>
      </div>
    </section>
  );
}
