import { rename, stat } from "node:fs/promises";
import { RotatingFile } from "../persistence/rotating_file.ts";
import type { AuditEntry, AuditedAction, AuditResult } from "./audit_entry.ts";
import { type AuditPage, type AuditQuery, firstIn, readAudit } from "./audit_reader.ts";

export interface AuditLogOptions {
  path: string;
  maxBytes: number;
  maxFiles: number;
  /** How long an action may take before it is told as under way. */
  underWayMs: number;
  onError(error: unknown): void;
}

/** An action that was begun; its end is told once. */
export interface BegunAction {
  end(result: AuditResult, details?: AuditedAction["details"]): void;
}

/**
 * Every action of an administrator with its result, one JSON line each, in the order of their ends. An action that takes long is
 * told twice: that it is under way, and its end; so a server that is killed leaves no more than a moment's actions untold.
 */
export class AuditLog {
  readonly #options: AuditLogOptions;
  readonly #file: RotatingFile;
  readonly #afterUnexpectedEnd: boolean;
  readonly #underWay = new Set<BegunAction>();
  #lastSeq: number;

  private constructor(
    options: AuditLogOptions,
    file: RotatingFile,
    { lastSeq, unexpected }: { lastSeq: number; unexpected: boolean },
  ) {
    this.#options = options;
    this.#file = file;
    this.#afterUnexpectedEnd = unexpected;
    this.#lastSeq = lastSeq;
  }

  /**
   * Goes on after the last entry there is. A file in which nothing can be read is set aside under a name that says so. Rejects
   * when the log cannot be written.
   */
  static async open(options: AuditLogOptions): Promise<AuditLog> {
    const { path } = options;
    const first = await firstIn(path);
    if (first === undefined) await setAsideDamaged(path, options.onError);
    const [last] = (await readAudit(path, { limit: 1 })).entries;
    const lastSeq = last?.seq ?? 0;
    const file = await RotatingFile.open({
      ...options,
      label: labelOf(first ?? lastSeq + 1),
      durable: true,
    });
    const unexpected = last !== undefined && last.action !== "serverStop";
    return new AuditLog(options, file, { lastSeq, unexpected });
  }

  /** Writes down that the server has started, and whether nobody said that the last one had stopped. */
  started(): void {
    this.#server(
      "serverStart",
      this.#afterUnexpectedEnd ? { afterUnexpectedEnd: true } : undefined,
    );
  }

  record(action: AuditedAction & { result?: AuditResult; began?: number }): AuditEntry {
    const entry: AuditEntry = { seq: ++this.#lastSeq, at: new Date().toISOString(), ...action };
    this.#file.append(JSON.stringify(entry), labelOf(entry.seq));
    return entry;
  }

  begin(action: AuditedAction): BegunAction {
    const start = performance.now();
    let began: number | undefined;
    const timer = setTimeout(() => {
      began = this.record(action).seq;
    }, this.#options.underWayMs).unref();
    const begun: BegunAction = {
      end: (result, details) => {
        if (!this.#underWay.delete(begun)) return;
        clearTimeout(timer);
        this.record({
          ...action,
          ...(details && { details: { ...action.details, ...details } }),
          result: { ...result, ms: Math.round(performance.now() - start) },
          ...(began && { began }),
        });
      },
    };
    this.#underWay.add(begun);
    return begun;
  }

  /** Newest first. */
  async read(query: AuditQuery): Promise<AuditPage> {
    await this.#file.flush();
    return readAudit(this.#options.path, query);
  }

  /** Writes down that the server has stopped; what is under way ends with it. */
  async close(): Promise<void> {
    for (const action of this.#underWay) action.end({ ok: false, error: "server_stopped" });
    this.#server("serverStop");
    await this.#file.close();
  }

  #server(action: "serverStart" | "serverStop", details?: AuditedAction["details"]): void {
    this.record({
      who: "server",
      from: "",
      action,
      ...(details && { details }),
      result: { ok: true },
    });
  }
}

/** Of one length, so that labels rise as texts. */
function labelOf(seq: number): string {
  return String(seq).padStart(12, "0");
}

async function setAsideDamaged(path: string, onError: (error: unknown) => void): Promise<void> {
  const { size } = await stat(path).catch(() => ({ size: 0 }));
  if (size === 0) return;
  const aside = `${path}.damaged-${new Date().toISOString().replaceAll(/\W/g, "")}`;
  await rename(path, aside);
  onError(new Error(`Nothing in ${path} can be read. It stands in ${aside} now.`));
}
