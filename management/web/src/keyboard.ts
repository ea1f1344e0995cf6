import { signal } from "@preact/signals";
import { goTo, goToAudit, route, type View } from "./routing";
import type { Session } from "./sessions/session";
import {
  closeSession,
  frontSession,
  isReachable,
  openSession,
  selectedMachine,
  stepSession,
} from "./sessions/sessions";
import { copySelection } from "./terminal/clipboard";
import { describeMachine } from "./words";

export const helpShown = signal(false);
/** The list of machines, where a narrow window hides it. */
export const drawerShown = signal(false);

/** Shown in the help, in this order. */
export const shortcuts: Array<{ keys: string[]; text: string }> = [
  { keys: ["Ctrl", "Alt", "1"], text: "Shell; 2 to 5: Files, Commands, Events, History" },
  { keys: ["Ctrl", "Alt", "T"], text: "Open a new terminal" },
  { keys: ["Ctrl", "Alt", "W"], text: "Close the terminal" },
  { keys: ["Ctrl", "Alt", "→"], text: "Next terminal" },
  { keys: ["Ctrl", "Alt", "←"], text: "Previous terminal" },
  { keys: ["Ctrl", "Alt", "M"], text: "Go to the list of machines" },
  { keys: ["Ctrl", "Alt", "L"], text: "Show the audit log" },
  { keys: ["Ctrl", "Shift", "C"], text: "Copy the selection" },
  { keys: ["Ctrl", "Shift", "V"], text: "Paste" },
  { keys: ["Shift", "PgUp"], text: "Scroll back" },
  { keys: ["Enter"], text: "Open a session again after its end" },
  { keys: ["Ctrl", "Alt", "H"], text: "Show this help" },
];

const actions: Record<string, () => void> = {
  Digit1: () => showView("shell"),
  Digit2: () => showView("files"),
  Digit3: () => showView("commands"),
  Digit4: () => showView("events"),
  Digit5: () => showView("history"),
  KeyL: showAudit,
  KeyT: openTerminal,
  KeyW: closeTerminal,
  ArrowRight: () => stepTerminal(1),
  ArrowLeft: () => stepTerminal(-1),
  KeyM: focusMachines,
  KeyH: () => {
    helpShown.value = !helpShown.value;
  },
};

/** The page's own shortcuts, taken before a terminal sees the key. */
export function listenToShortcuts(): void {
  window.addEventListener(
    "keydown",
    (event) => {
      // On some keyboards AltGr reports itself as Ctrl and Alt, and types characters.
      if (!event.ctrlKey || !event.altKey || event.getModifierState("AltGraph")) return;
      const action = actions[event.code];
      if (!action) return;
      event.preventDefault();
      event.stopPropagation();
      action();
    },
    { capture: true },
  );
}

/** Keys that a terminal must not take as input. False keeps the terminal from it. */
export function handleTerminalKey(event: KeyboardEvent, session: Session): boolean {
  if (event.ctrlKey && event.shiftKey && event.code === "KeyC") {
    event.preventDefault();
    if (event.type === "keydown") copySelection(session.terminal);
    return false;
  }
  // The browser pastes by itself, and needs no permission for that.
  if (event.ctrlKey && event.shiftKey && event.code === "KeyV") return false;
  if (event.key === "Enter" && session.state.value.phase === "ended") {
    event.preventDefault();
    if (event.type === "keydown" && !event.repeat && isReachable(session.machineId)) session.open();
    return false;
  }
  return true;
}

function showView(view: View): void {
  const machine = selectedMachine.value;
  if (!machine) return;
  goTo(machine.id, view);
  // The terminal is out of sight now; unless the view has put it elsewhere, the focus is where the view was chosen.
  requestAnimationFrame(() => {
    if (view === "shell" || document.activeElement?.closest(".view, .topbar")) return;
    document.querySelector<HTMLElement>(".view-nav a[aria-current]")?.focus();
  });
}

function showAudit(): void {
  goToAudit();
  requestAnimationFrame(() => document.querySelector<HTMLElement>(".audit-link")?.focus());
}

// Terminals that are out of sight are not to be closed or turned by a key.
function closeTerminal(): void {
  if (route.value.view === "shell" && frontSession.value) closeSession(frontSession.value);
}

function stepTerminal(step: 1 | -1): void {
  if (route.value.view === "shell") stepSession(step);
}

function openTerminal(): void {
  const machine = selectedMachine.value;
  if (machine && describeMachine(machine).kind === "connected") openSession(machine.id);
}

function focusMachines(): void {
  drawerShown.value = true;
  // A drawer has to be drawn before it can take the focus.
  requestAnimationFrame(() => {
    document.querySelector<HTMLElement>(".machine[aria-current=true], .machine")?.focus();
  });
}
