import { LineFile } from "./line_file.ts";

export interface AuditEntry {
  /** "token", or "session" with the start of the session's key. */
  who: string;
  action:
    | "signIn"
    | "signInRefused"
    | "signOut"
    | "call"
    | "policy"
    | "terminalOpen"
    | "terminalEnd"
    | "storagePut"
    | "storageGet"
    | "storageDelete"
    | "serverStop";
  machine?: string;
  /** What was meant, never what was typed: method, stream id, code, reason. */
  details?: Record<string, string | number>;
}

/** Every action of an administrator, one JSON line each, in the order of their happening. */
export class AuditLog {
  readonly #file: LineFile;

  constructor(path: string, onError: (error: unknown) => void) {
    this.#file = new LineFile(path, onError);
  }

  record(entry: AuditEntry): void {
    this.#file.append(JSON.stringify({ at: new Date().toISOString(), ...entry }));
  }

  async flush(): Promise<void> {
    await this.#file.flush();
  }
}
