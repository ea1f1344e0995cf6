import { type Json, member, text } from "./api/json";
import type { HistoryRecord } from "./records/history";
import { moment } from "./words";

export interface HistoryWords {
  title: string;
  details: string;
  tone: "calm" | "warn";
}

/** What the machine's history says about itself, by the number of the event. */
const ownEvents = [
  "The history was damaged. It was set aside and a new one was begun.",
  "The agent ended unexpectedly. Sessions that were open then are not listed.",
  "The history was removed. A new one was begun.",
  "This record was removed or changed.",
];

/** A record as the person at the machine reads it, in English; one of an unknown kind by its numbers. */
export function describeRecord({ feature, values }: HistoryRecord): HistoryWords {
  const event = text(values, "0");
  if (feature === "RemoteAccess" && event === "0") return describeSession(values);
  const own = feature === "History" && /^\d$/.test(event) ? ownEvents[Number(event)] : undefined;
  if (own) return { title: own, details: text(values, "2"), tone: "warn" };
  const title = `${feature || "A feature without a name"}, event ${event || "without a number"}`;
  return { title, details: describeValues(values), tone: "calm" };
}

function describeSession(values: Json): HistoryWords {
  const title = "Administrator ended a remote shell connection";
  const [start, end] = [text(values, "2"), text(values, "3")].map(timeOf);
  const details = `Session Started: ${dateOf(start)}. Session Ended: ${dateOf(end)}.`;
  return { title, details, tone: "calm" };
}

/** Undefined for what is no time, and for 0, which says that it is not known. */
function timeOf(seconds: string): number | undefined {
  const time = /^\d{1,12}$/.test(seconds) ? Number(seconds) : 0;
  return time || undefined;
}

function dateOf(seconds: number | undefined): string {
  return seconds === undefined ? "not known" : moment(seconds * 1000);
}

function describeValues(values: Json): string {
  if (typeof values !== "object" || values === null) return "";
  const known = Object.keys(values).filter((key) => key !== "0" && text(values, key) !== "");
  return known.map((key) => `${key}: ${String(member(values, key))}`).join(", ");
}
