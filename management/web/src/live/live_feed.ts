import { signal } from "@preact/signals";
import { Backoff } from "./backoff";

export interface MachineInfo {
  id: string;
  name: string;
  connected: boolean;
  enabled: boolean | null;
  sessions: number;
  /** When it was connected or, if it is away, when it was lost. */
  since: string;
}

export interface RefusedAgent {
  id: string;
  name: string;
  at: string;
  count: number;
}

export type ServerLink = { state: "connecting" | "live" } | { state: "lost"; retryAt: number };

const { compare } = new Intl.Collator(undefined, { numeric: true });
const byName = (one: MachineInfo, other: MachineInfo) => compare(one.name, other.name);

/** What the server told last, by name; the list stays as it was while the server can't be reached. */
export const machines = signal<MachineInfo[]>([]);
export const refused = signal<RefusedAgent[]>([]);
export const serverLink = signal<ServerLink>({ state: "connecting" });
/** False until the server has told the machines for the first time. */
export const loaded = signal(false);

const backoff = new Backoff(1000, 30_000);
let retry: ReturnType<typeof setTimeout> | undefined;
let source: EventSource | undefined;

/** Follows the server's live feed for as long as the page lives; called again, at once instead of later. */
export function followServer(): void {
  clearTimeout(retry);
  source?.close();
  source = new EventSource("/api/live");
  source.onmessage = (event) => {
    const state = JSON.parse(event.data);
    machines.value = state.machines.toSorted(byName);
    refused.value = state.refused;
    loaded.value = true;
    serverLink.value = { state: "live" };
    backoff.reset();
  };
  source.onerror = () => {
    source?.close();
    leaveWhenSignedOut();
    const wait = backoff.next();
    serverLink.value = { state: "lost", retryAt: Date.now() + wait };
    retry = setTimeout(followServer, wait);
  };
}

/** An event source does not say why it failed. */
async function leaveWhenSignedOut(): Promise<void> {
  const response = await fetch("/api/machines").catch(() => undefined);
  if (response?.status === 401) location.assign("/");
}
