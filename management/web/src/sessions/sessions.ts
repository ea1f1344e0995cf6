import { computed, signal } from "@preact/signals";
import { announce } from "../announce";
import { machines } from "../live/live_feed";
import { goTo, route } from "../routing";
import { describeEnd, nameOf } from "../words";
import { Session } from "./session";

/** All terminal tabs of this page, in the order of their opening. */
export const sessions = signal<Session[]>([]);
/** The tab in front, for each machine that has any. */
const front = signal<Record<string, Session | undefined>>({});

/** The machine whose tabs are shown: the one chosen, else the first one that is connected, else the first. */
export const selectedMachine = computed(() => {
  const list = machines.value;
  return (
    list.find((machine) => machine.id === route.value.machineId) ??
    list.find((machine) => machine.connected) ??
    list[0]
  );
});

export const shownSessions = computed(() => sessionsOf(selectedMachine.value?.id));
export const frontSession = computed(() => front.value[selectedMachine.value?.id ?? ""]);

export function sessionsOf(machineId: string | undefined): Session[] {
  return sessions.value.filter((session) => session.machineId === machineId);
}

/** Whether a shell can be opened on that machine at all. */
export function isReachable(machineId: string): boolean {
  return machines.value.some((machine) => machine.id === machineId && machine.connected);
}

/** Shows a machine, in the view that is shown. Its terminal takes the keys, also when it was in front already. */
export function selectMachine(id: string): void {
  const view = route.value.view === "audit" ? "shell" : route.value.view;
  goTo(id, view);
  if (view === "shell") front.value[id]?.terminal.focus();
}

export function openSession(machineId: string): Session {
  const number = Math.max(0, ...sessionsOf(machineId).map((session) => session.number)) + 1;
  const session = new Session(machineId, number, (ended, end) => {
    if (!sessions.value.includes(ended)) return;
    announce(`${ended.title} on ${nameOf(machineId)}: ${describeEnd(end).title}`);
  });
  goTo(machineId, "shell");
  sessions.value = [...sessions.value, session];
  showSession(session);
  return session;
}

export function showSession(session: Session): void {
  front.value = { ...front.value, [session.machineId]: session };
}

/** Closes the tab; its neighbour comes to the front. */
export function closeSession(session: Session): void {
  const tabs = sessionsOf(session.machineId);
  const index = tabs.indexOf(session);
  sessions.value = sessions.value.filter((other) => other !== session);
  session.dispose();
  if (front.value[session.machineId] !== session) return;
  const neighbour = tabs[index + 1] ?? tabs[index - 1];
  front.value = { ...front.value, [session.machineId]: neighbour };
}

/** Brings the next tab to the front (+1) or the one before (-1), around the end. */
export function stepSession(step: 1 | -1): void {
  const tabs = shownSessions.value;
  const index = frontSession.value ? tabs.indexOf(frontSession.value) : -1;
  const next = tabs[(index + step + tabs.length) % tabs.length];
  if (next) showSession(next);
}
