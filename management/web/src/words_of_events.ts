import { integer, type Json, list, member, text } from "./api/json";
import type { MachineEvent } from "./live/events_feed";
import { describeRunEnd, type Tone } from "./words_of_jobs";
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

const tones: Record<string, Tone> = {
  success: "good",
  aborted: "calm",
  failed: "bad",
  "gather items failed": "bad",
  "upload failed": "bad",
};

export function kindOf(event: MachineEvent): EventKind {
  return Object.hasOwn(kinds, event.name) ? (kinds[event.name] ?? "other") : "other";
}

/** An event in one line. */
export function describeEvent(event: MachineEvent): EventWords {
  const kind = kindOf(event);
  const data = member(event.payload, "data");
  if (kind === "download") {
    return { kind, ...describeFiles("Download finished", data, "file") };
  }
  if (kind === "upload") {
    const words = describeFiles("Upload finished", data, "path");
    const name = text(data, "name");
    return { kind, ...words, text: name ? `${words.text}, ${name}` : words.text };
  }
  if (kind === "process") {
    const { text: words, tone } = describeRunEnd(data);
    return { kind, text: `Command: ${words}`, tone };
  }
  return { kind, text: event.name || "An event without a name", tone: "calm" };
}

function describeFiles(what: string, data: Json, one: string): { text: string; tone: Tone } {
  const items = list(data, "items");
  const failed = items.filter((item) => integer(item, "errorCode") !== 0).length;
  const status = text(data, "status") || "without a status";
  const tone = Object.hasOwn(tones, status) ? (tones[status] ?? "calm") : "calm";
  const missing = failed > 0 ? `, ${failed} with a problem` : "";
  return {
    text: `${what}: ${status}, ${count(items.length, one)}${missing}`,
    tone: failed > 0 && tone === "good" ? "warn" : tone,
  };
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
