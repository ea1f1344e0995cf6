import { signal } from "@preact/signals";

/** Of each machine. */
export const views = ["shell", "files", "commands", "events", "history"] as const;
export type View = (typeof views)[number];

export interface Route {
  /** Undefined leaves the choice to the page. */
  machineId: string | undefined;
  /** "audit" is the server's own view. */
  view: View | "audit";
}

/** No machine's: their identifiers are longer. */
export const AUDIT_HASH = "#/audit";

export const route = signal<Route>({ machineId: undefined, view: "shell" });

/** "#/machine-0001/files" names a machine and one of its views; whatever can't be read is the shell. */
export function readRoute(hash: string): Route {
  if (hash === AUDIT_HASH) return { machineId: undefined, view: "audit" };
  const [machine = "", name = ""] = hash.replace(/^#\/?/, "").split("/");
  const view = views.find((known) => known === name) ?? "shell";
  try {
    return { machineId: decodeURIComponent(machine) || undefined, view };
  } catch {
    return { machineId: undefined, view };
  }
}

export function hashOf(machineId: string, view: View): string {
  return `#/${encodeURIComponent(machineId)}/${view}`;
}

/** Shows a view of a machine; the address says so, and the way back is in the history. */
export function goTo(machineId: string, view: View): void {
  const hash = hashOf(machineId, view);
  if (location.hash !== hash) history.pushState(null, "", hash);
  route.value = { machineId, view };
}

/** Shows the server's audit log; the machine stays chosen. */
export function goToAudit(): void {
  if (location.hash !== AUDIT_HASH) history.pushState(null, "", AUDIT_HASH);
  route.value = { ...route.value, view: "audit" };
}

export function followAddress(): void {
  const read = () => {
    route.value = readRoute(location.hash);
  };
  read();
  window.addEventListener("hashchange", read);
  window.addEventListener("popstate", read);
}
