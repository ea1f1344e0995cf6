import type { FastifyRequest } from "fastify";
import { parseOpenly } from "../jobs/job.ts";

/** Whose transfer a request is: the job's "runContext", as the job shows it. Undefined where the agent did not say. */
export function runContextOf({ headers }: FastifyRequest): unknown {
  const header = headers["x-run-context"];
  if (typeof header !== "string") return undefined;
  try {
    return parseOpenly(Buffer.from(header, "base64").toString());
  } catch {
    return undefined;
  }
}
