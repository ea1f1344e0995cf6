import { integer, type Json, list, member, text } from "../api/json";
import { get, machinePath } from "../api/server";
import { perMachine } from "../live/per_machine";
import { PagedList } from "./paged_list";

/** A record of a machine's own history. */
export interface HistoryRecord {
  sequence: number;
  /** Seconds since 1970; 0 where it is not known. */
  time: number;
  feature: string;
  /** By number. */
  values: Json;
}

const PORTION = 100;

/** What a machine keeps for whoever sits at it. */
export const historyOf = perMachine(
  (machineId) =>
    new PagedList<HistoryRecord>(
      async (before) => {
        const query = `limit=${PORTION}${before === undefined ? "" : `&before=${before}`}`;
        const answer: Json = await (await get(`${machinePath(machineId)}/history?${query}`)).json();
        const items = list(answer, "records").map(toRecord);
        const last = items.at(-1)?.sequence ?? 1;
        return { items, next: last > 1 ? last : null, total: integer(answer, "total") ?? 0 };
      },
      ({ sequence }) => sequence,
    ),
);

function toRecord(record: Json): HistoryRecord {
  return {
    sequence: integer(record, "sequence") ?? 0,
    time: integer(record, "time") ?? 0,
    feature: text(record, "feature"),
    values: member(record, "values"),
  };
}
