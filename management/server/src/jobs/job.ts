import { z } from "zod";

const job = z.object({
  id: z.string(),
  kind: z.enum(["download", "upload", "process"]),
  by: z.string(),
  startedAt: z.string(),
  input: z.unknown(),
  status: z.number().nullable(),
  message: z.string().nullable(),
  pid: z.number().nullable(),
  jobId: z.string().nullable(),
  parent: z.string().nullable(),
  phase: z.enum(["asked", "refused", "running", "transferring", "ended", "lost"]),
  transfer: z.object({ name: z.string(), bytes: z.number(), total: z.number() }).nullable(),
  endedAt: z.string().nullable(),
  end: z.unknown(),
});

/** What was started on a machine and what became of it, as docs/protocol.md has it. */
export type Job = z.infer<typeof job>;

/** What is kept of a machine's jobs. */
export const keptJobs = z.object({
  /** The agent's run that knows of the jobs that have not ended. */
  instance: z.string().nullable(),
  /** The last event that the jobs show. */
  lastEvent: z.number(),
  jobs: z.array(job),
});

const MAX_LENGTH = 128 * 1024;
const MAX_MEMBER_LENGTH = 4 * 1024;

/** Parses JSON, leaving out what may be secret, at whatever depth: passwords, and the form fields that sign an upload. */
export function parseOpenly(text: string): unknown {
  return JSON.parse(text, (key, member) =>
    /^(password|postItems)$/i.test(key) ? undefined : member,
  );
}

/** What is kept of a value: all of it, or when that is too long only those members that are not. */
export function shorten(value: unknown): unknown {
  const lengthOf = (part: unknown) => JSON.stringify(part ?? null).length;
  if (lengthOf(value) <= MAX_LENGTH) return value;
  if (!isObject(value)) return null;
  const short = Object.entries(value).filter(([, it]) => lengthOf(it) <= MAX_MEMBER_LENGTH);
  return { ...Object.fromEntries(short), shortened: true };
}

function isObject(value: unknown): value is Record<string, unknown> {
  return typeof value === "object" && value !== null && !Array.isArray(value);
}

/** The member at the end of a path, undefined where there is none. */
export function memberOf(value: unknown, ...path: string[]): unknown {
  let found = value;
  for (const name of path) found = isObject(found) ? found[name] : undefined;
  return found;
}

/** A text that says something, else null. */
export function textOf(value: unknown): string | null {
  return typeof value === "string" && value !== "" ? value : null;
}
