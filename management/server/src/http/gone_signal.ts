import type { FastifyReply } from "fastify";

/** Is told when nobody waits for the answer any more. */
export function goneSignal(reply: FastifyReply): AbortSignal {
  const gone = new AbortController();
  reply.raw.once("close", () => gone.abort());
  return gone.signal;
}
