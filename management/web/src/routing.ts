import { signal } from "@preact/signals";

export const views = ["shell", "files", "commands", "events"] as const;
export type View = (typeof views)[number];

export interface Route {
  /** Undefined leaves the choice to the page. */
  machineId: string | undefined;
  view: View;
}

export const route = signal<Route>({ machineId: undefined, view: "shell" });

/** "#/machine-0001/files" names a machine and one of its views; whatever can't be read is the shell. */
export function readRoute(hash: string): Route {
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

export function followAddress(): void {
  const read = () => {
    route.value = readRoute(location.hash);
  };
  read();
  window.addEventListener("hashchange", read);
  window.addEventListener("popstate", read);
}
