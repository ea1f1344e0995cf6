import type { FastifyReply, FastifyRequest } from "fastify";

/** Gives up a request on which nothing has moved for that long. */
export function limitIdleness({ raw }: FastifyRequest, idleMs: number): void {
  raw.setTimeout(idleMs, () => raw.socket.destroy());
}

/** As `limitIdleness`, until the body has come: what is done with it may take its time. */
export function limitIdlenessOfBody(
  request: FastifyRequest,
  { raw: response }: FastifyReply,
  idleMs: number,
): void {
  const { raw } = request;
  const comes =
    raw.headers["transfer-encoding"] !== undefined ||
    Number(raw.headers["content-length"] ?? 0) > 0;
  if (!comes || raw.method === "GET" || raw.method === "HEAD") return;
  limitIdleness(request, idleMs);
  raw.once("end", () => response.writableEnded || raw.setTimeout(0));
}
