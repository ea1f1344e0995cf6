import type { ApiError } from "../errors.ts";
import type { AuditedAction, AuditResult } from "./audit_entry.ts";
import type { AuditLog } from "./audit_log.ts";

/** One by one within the time, before they are only counted. */
const MAX_SINGLE = 5;
const MAX_ADDRESSES = 100;
const WINDOW_MS = 10 * 60_000;

/**
 * Attempts of those who have no right to. The first few of an address are told one by one and the rest as a number, so that nobody
 * from outside can fill the audit log until nothing else is left in it.
 */
export class RefusedAttempts {
  readonly #audit: AuditLog;
  readonly #windows = new Map<string, { told: number; untold: number; timer: NodeJS.Timeout }>();

  constructor(audit: AuditLog) {
    this.#audit = audit;
  }

  /** `tried` is what the request was for. */
  refused(from: string, error: ApiError, tried: string, machine?: string): void {
    const result = { ok: false, http: error.status, error: error.word };
    const where = machine === undefined ? {} : { machine };
    this.#record({ who: "nobody", from, action: "refused", ...where, details: { tried }, result });
  }

  signInRefused(from: string): void {
    const result = { ok: false, http: 401, error: "unauthorized" };
    this.#record({ who: "nobody", from, action: "signInRefused", result });
  }

  /** Tells what is only counted yet. */
  close(): void {
    for (const address of [...this.#windows.keys()]) this.#end(address);
  }

  #record(attempt: AuditedAction & { result: AuditResult }): void {
    const { from } = attempt;
    const known = this.#windows.has(from) || this.#windows.size < MAX_ADDRESSES;
    const address = known ? from : "others";
    const window = this.#windows.get(address) ?? {
      told: 0,
      untold: 0,
      timer: setTimeout(() => this.#end(address), WINDOW_MS).unref(),
    };
    this.#windows.set(address, window);
    if (window.told === MAX_SINGLE) {
      window.untold++;
      return;
    }
    window.told++;
    this.#audit.record(attempt);
  }

  #end(address: string): void {
    const window = this.#windows.get(address);
    this.#windows.delete(address);
    clearTimeout(window?.timer);
    if (!window?.untold) return;
    const details = { further: window.untold };
    this.#audit.record({
      who: "nobody",
      from: address,
      action: "refused",
      details,
      result: { ok: false },
    });
  }
}
