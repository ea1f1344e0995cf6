import type { FastifyRequest } from "fastify";

/** Whose transfer a request is: the job's "runContext". Undefined where the agent did not say. */
export function runContextOf({ headers }: FastifyRequest): unknown {
  const header = headers["x-run-context"];
  if (typeof header !== "string") return undefined;
  try {
    return JSON.parse(Buffer.from(header, "base64").toString());
  } catch {
    return undefined;
  }
}
