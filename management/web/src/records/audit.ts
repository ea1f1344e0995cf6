import { integer, type Json, list, member, text } from "../api/json";
import { get } from "../api/server";
import { PagedList } from "./paged_list";

/** An action of an administrator, as the server's audit log has it. */
export interface AuditEntry {
  seq: number;
  at: string;
  who: string;
  from: string;
  action: string;
  machine: string;
  details: Json;
  /** Undefined while the action is under way. */
  result: Json;
  /** The entry that told of this action while it was under way. */
  began: number | undefined;
}

export interface AuditFilter {
  machine?: string | undefined;
  who?: string | undefined;
  actions?: readonly string[];
  failed?: boolean;
}

const PORTION = 100;

export function auditList(filter: AuditFilter): PagedList<AuditEntry> {
  return new PagedList<AuditEntry>(
    async (before) => {
      const answer: Json = await (await get(`/api/audit?${queryOf(filter, before)}`)).json();
      const next = integer(answer, "next") ?? null;
      return { items: list(answer, "entries").map(toEntry), next };
    },
    ({ seq }) => seq,
  );
}

/** Without the entries that told of an action while it was under way, where its end is known. */
export function withoutBegun(entries: readonly AuditEntry[]): AuditEntry[] {
  const ended = new Set(entries.map(({ began }) => began));
  return entries.filter(({ seq }) => !ended.has(seq));
}

function queryOf({ machine, who, actions = [], failed }: AuditFilter, before?: number): string {
  const query = new URLSearchParams({ limit: String(PORTION) });
  if (before !== undefined) query.set("before", String(before));
  if (machine !== undefined) query.set("machine", machine);
  if (who !== undefined) query.set("who", who);
  if (failed) query.set("failed", "");
  for (const action of actions) query.append("action", action);
  return query.toString();
}

function toEntry(entry: Json): AuditEntry {
  return {
    seq: integer(entry, "seq") ?? 0,
    at: text(entry, "at"),
    who: text(entry, "who"),
    from: text(entry, "from"),
    action: text(entry, "action"),
    machine: text(entry, "machine"),
    details: member(entry, "details"),
    result: member(entry, "result"),
    began: integer(entry, "began"),
  };
}
