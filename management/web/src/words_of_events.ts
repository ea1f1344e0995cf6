import { list, member, text } from "./api/json";
import type { MachineEvent } from "./live/events_feed";
import { describeRunEnd, describeSent, fetchedState, sentState, type Tone } from "./words_of_jobs";
import { count } from "./words_of_sizes";

export type EventKind = "download" | "upload" | "process" | "other";

export interface EventWords {
  kind: EventKind;
  text: string;
  tone: Tone;
}

const kinds: Record<string, EventKind> = {
  "RemoteAccess.DownloadFinished": "download",
  "RemoteAccess.UploadFinished": "upload",
  "RemoteAccess.ProcessFinished": "process",
};

export function kindOf(event: MachineEvent): EventKind {
  return Object.hasOwn(kinds, event.name) ? (kinds[event.name] ?? "other") : "other";
}

/** An event in one line, in the words that the other views have for it. */
export function describeEvent(event: MachineEvent): EventWords {
  const kind = kindOf(event);
  const data = member(event.payload, "data");
  const items = list(data, "items");
  switch (kind) {
    case "download": {
      const { text: state, tone } = sentState(data);
      const { title, place } = describeSent(items);
      return { kind, text: `${state}: ${title} ${place}`.trim(), tone };
    }
    case "upload": {
      const { text: state, tone } = fetchedState(data);
      const name = text(data, "name") || "an archive";
      return { kind, text: `${state}: ${name}, ${count(items.length, "path")}`, tone };
    }
    case "process": {
      const { text: state, tone } = describeRunEnd(data);
      return { kind, text: `Command: ${state}`, tone };
    }
    case "other":
      return { kind, text: describeOther(event), tone: "calm" };
  }
}

/** What the machine counts of its tools' use is told by the tool. */
function describeOther({ name, payload }: MachineEvent): string {
  const tool = text(payload, "tool");
  if (!tool) return name || "An event without a name";
  return `Usage: ${[tool, text(payload, "exit_reason")].filter(Boolean).join(", ")}`;
}

const searchTexts = new WeakMap<MachineEvent, string>();

/** The text that a search looks in. */
export function searchTextOf(event: MachineEvent): string {
  let found = searchTexts.get(event);
  if (found === undefined) {
    const whole = JSON.stringify(event.payload) ?? "";
    found = `${describeEvent(event).text}\n${event.name}\n${whole}`.toLowerCase();
    searchTexts.set(event, found);
  }
  return found;
}
