import { z } from "zod";

export const auditActions = [
  "signIn",
  "signInRefused",
  "signOut",
  "refused",
  "call",
  "policy",
  "history",
  "terminalOpen",
  "terminalEnd",
  "storagePut",
  "storageGet",
  "storageDelete",
  "serverStart",
  "serverStop",
] as const;

/** What came of an action. */
export const auditResult = z.object({
  ok: z.boolean(),
  /** Status of the HTTP response, where there was one. */
  http: z.int().optional(),
  /** The word of a refusal, as the caller got it; "cut_off" where a transfer broke. */
  error: z.string().optional(),
  /** The code that the machine answered with: 0 for success. */
  code: z.int().optional(),
  /** Why a terminal ended. */
  reason: z.string().optional(),
  bytes: z.int().optional(),
  /** How long it took. */
  ms: z.int().optional(),
});

export const auditEntry = z.object({
  /** Rises by one from entry to entry, also across restarts. */
  seq: z.int().positive(),
  at: z.string(),
  /** "token", "session" with the start of the session's key, "server", or "nobody": who had no right to. */
  who: z.string(),
  /** The remote address; "" for the server itself. */
  from: z.string(),
  action: z.enum(auditActions),
  machine: z.string().optional(),
  /** What was meant, never what was typed or sent: method, names, stream id. */
  details: z
    .record(z.string(), z.union([z.string(), z.number(), z.boolean(), z.array(z.string())]))
    .optional(),
  /** Missing while the action is under way. */
  result: auditResult.optional(),
  /** The entry that told of this action while it was under way. */
  began: z.int().positive().optional(),
});

export type AuditEntry = z.infer<typeof auditEntry>;
export type AuditAction = AuditEntry["action"];
export type AuditResult = z.infer<typeof auditResult>;
export type AuditDetails = NonNullable<AuditEntry["details"]>;

/** An action as whoever records it knows it. */
export type AuditedAction = Pick<AuditEntry, "who" | "from" | "action" | "machine" | "details">;
