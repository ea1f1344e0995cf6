import type { FastifyReply } from "fastify";

const HEARTBEAT_MS = 15_000;
const MAX_UNTAKEN_BYTES = 4 * 1024 * 1024;

/** A response of server-sent events. A reader that falls too far behind is cut off and may come back with its last id. */
export class EventStream {
  readonly #reply: FastifyReply;

  /** `onEnd` is called once the reader has gone. */
  constructor(reply: FastifyReply, onEnd: () => void) {
    this.#reply = reply;
    reply.hijack();
    reply.raw.writeHead(200, {
      ...(reply.getHeaders() as Record<string, string>),
      "content-type": "text/event-stream",
      "cache-control": "no-store",
      "x-accel-buffering": "no",
    });
    reply.raw.write(":\n\n");
    const heartbeat = setInterval(() => this.#write(":\n\n"), HEARTBEAT_MS);
    reply.raw.on("close", () => {
      clearInterval(heartbeat);
      onEnd();
    });
  }

  send(data: unknown, id?: number): void {
    const idLine = id === undefined ? "" : `id: ${id}\n`;
    this.#write(`${idLine}data: ${JSON.stringify(data)}\n\n`);
  }

  #write(text: string): void {
    const { raw } = this.#reply;
    if (raw.writableLength > MAX_UNTAKEN_BYTES) raw.destroy();
    else raw.write(text);
  }
}
