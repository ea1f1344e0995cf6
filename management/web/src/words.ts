import { type MachineInfo, machines, type RefusedAgent, refused } from "./live/live_feed";
import type { SessionState } from "./sessions/session";
import type { SessionEnd } from "./sessions/terminal_link";

export type MachineKind = "connected" | "off" | "away" | "refused";

export interface MachineWords {
  kind: MachineKind;
  /** A few words for the list. */
  short: string;
  /** A sentence for who wants to know more. */
  long: string;
}

/** A machine's state in words. A refusal counts only while the machine is not here: who claimed its name may have been another. */
export function describeMachine(machine: MachineInfo): MachineWords {
  if (machine.connected && machine.enabled === false) {
    return {
      kind: "off",
      short: "Switched off",
      long: "The machine is connected, but remote access is switched off in its settings.",
    };
  }
  if (machine.connected) {
    return { kind: "connected", short: "Connected", long: `Connected ${since(machine.since)}.` };
  }
  const refusal = refused.value.find((agent) => agent.id === machine.id);
  if (refusal) return describeRefusal(refusal);
  return {
    kind: "away",
    short: `Away ${since(machine.since)}`,
    long: `Not connected ${since(machine.since)}. It comes back by itself once it is on and reaches this server.`,
  };
}

export function describeRefusal(agent: RefusedAgent): MachineWords {
  return {
    kind: "refused",
    short: "Refused: wrong key",
    long: `Its agent came with a wrong enrolment key, last at ${moment(agent.at)}, and was refused. Give it the key of this server.`,
  };
}

export function nameOf(machineId: string): string {
  return machines.value.find((machine) => machine.id === machineId)?.name ?? machineId;
}

export interface EndWords {
  title: string;
  text: string;
  tone: "calm" | "problem";
}

const ends: Record<Exclude<SessionEnd["reason"], "openFailed">, EndWords> = {
  closed: { title: "Session closed", text: "You closed this session.", tone: "calm" },
  shellExited: {
    title: "The shell has exited",
    text: "It ended on the machine.",
    tone: "calm",
  },
  inactivity: {
    title: "Closed for inactivity",
    text: "Nothing was typed for a while, so the machine ended the session.",
    tone: "calm",
  },
  machineLost: {
    title: "Connection to the machine lost",
    text: "The session ended with it. Open it again once the machine is back.",
    tone: "problem",
  },
  hostLost: {
    title: "The machine's shell process has ended",
    text: "All its shells ended with it. It is started again by itself: open a new shell.",
    tone: "problem",
  },
  streamLost: {
    title: "Output could not be delivered",
    text: "This page took the shell's output too slowly for too long.",
    tone: "problem",
  },
  serverStopping: {
    title: "The server was stopped",
    text: "All sessions ended with it.",
    tone: "problem",
  },
  serverLost: {
    title: "Connection to the server lost",
    text: "The session ended with it.",
    tone: "problem",
  },
  notOpened: {
    title: "The session could not be opened",
    text: "The machine is not connected, or the server can't be reached.",
    tone: "problem",
  },
  refused: {
    title: "The server ended the session",
    text: "It could not make sense of what this page sent.",
    tone: "problem",
  },
};

/** What a person is told about the codes that opening a shell can answer with. */
const openingCodes: Record<number, string> = {
  2: "A file that the shell needs was not found on the machine.",
  5: "Windows on the machine denied access.",
  8: "The machine is out of memory.",
  21: "Remote access is switched off on this machine.",
  87: "The machine did not accept the request.",
  126: "The console library could not be loaded on the machine.",
  170: "The machine is busy with other requests. Try again in a moment.",
  183: "A session with this identifier is already open.",
  632: "The machine did not understand the request; its version may not fit this server's.",
  1359: "Something went wrong inside the machine's agent.",
  1460: "The machine did not answer in time.",
  1627: "The shell could not be started on the machine.",
  2250: "The machine is not connected.",
};

/** Why a session has ended; `off` where remote access is switched off on its machine now, which ends every shell. */
export function describeEnd(end: SessionEnd, { off = false } = {}): EndWords {
  if (end.reason === "shellExited" && off) {
    const text = "Remote access is switched off on this machine, which ends every shell there.";
    return { ...ends.shellExited, text };
  }
  if (end.reason !== "openFailed") {
    const words = ends[end.reason];
    return end.detail ? { ...words, text: `${words.text} (${end.detail})` } : words;
  }
  const known = openingCodes[end.code ?? Number.NaN];
  return {
    title: end.code === 21 ? "Remote access is switched off" : "The session could not be opened",
    text: known ?? "The machine answered with an error that has no description here.",
    tone: "problem",
  };
}

/** A session in a few words, for the status bar. */
export function describeSession(state: SessionState): string {
  if (state.phase === "opening") return "Opening…";
  if (state.phase === "open") return `Open ${since(state.since)}`;
  return "Ended";
}

/** "since 14:32", or with the date when that was not today. */
function since(time: string | number): string {
  return `since ${moment(time)}`;
}

export function moment(time: string | number, { seconds = false } = {}): string {
  const date = new Date(time);
  const form = { hour: "2-digit", minute: "2-digit" } as const;
  const clock = date.toLocaleTimeString([], seconds ? { ...form, second: "2-digit" } : form);
  if (date.toDateString() === new Date().toDateString()) return clock;
  const day = date.toLocaleDateString([], { day: "numeric", month: "short" });
  return `${day}, ${clock}`;
}
