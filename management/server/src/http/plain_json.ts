import type { FastifyReply } from "fastify";

/**
 * Answers with JSON whose type is exactly `application/json`: a machine hands such a body on as a value, and any other, also one
 * with a charset, as a text.
 */
export function sendPlainJson(reply: FastifyReply, body: unknown): FastifyReply {
  return reply.type("application/json").send(Buffer.from(JSON.stringify(body)));
}
