import type { Terminal } from "@xterm/xterm";
import type { SessionState } from "./sessions/session";
import { sessions } from "./sessions/sessions";

/** One terminal tab, for scripts in the page. */
export interface ScriptedTerminal {
  id: string;
  machineId: string;
  state: SessionState;
  /** The screen itself: its buffer can be read, text can be put in with `input`. */
  terminal: Terminal;
}

declare global {
  interface Window {
    /** The page's scripting door, for user scripts, extensions and automation. */
    remoteAccess: { readonly terminals: ScriptedTerminal[] };
  }
}

export function openScriptingDoor(): void {
  window.remoteAccess = {
    get terminals() {
      return sessions.value.map(({ id, machineId, state, terminal }) => ({
        id,
        machineId,
        state: state.value,
        terminal,
      }));
    },
  };
}
