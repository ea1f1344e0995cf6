import type { FastifyReply } from "fastify";

const HEARTBEAT_MS = 15_000;
/** Without anything taken by the reader. */
const STALLED_MS = 60_000;

/**
 * A response of server-sent events. It holds no queue of its own: who sends stops while it isn't `ready`, and goes on, or skips
 * ahead, when `onReady` is called. A reader that takes nothing for a minute is given up.
 */
export class EventStream {
  readonly #reply: FastifyReply;

  /** `onEnd` is called once the reader has gone. */
  constructor(reply: FastifyReply, { onReady, onEnd }: { onReady(): void; onEnd(): void }) {
    this.#reply = reply;
    reply.hijack();
    reply.raw.writeHead(200, {
      ...(reply.getHeaders() as Record<string, string>),
      "content-type": "text/event-stream",
      "cache-control": "no-store",
      "x-accel-buffering": "no",
    });
    reply.raw.write(":\n\n");
    reply.raw.on("drain", onReady);
    reply.raw.setTimeout(STALLED_MS, () => reply.raw.destroy());
    const heartbeat = setInterval(() => this.ready && reply.raw.write(":\n\n"), HEARTBEAT_MS);
    reply.raw.on("close", () => {
      clearInterval(heartbeat);
      onEnd();
    });
  }

  /** Whether the reader has taken what was sent. */
  get ready(): boolean {
    return !this.#reply.raw.writableNeedDrain;
  }

  send(data: unknown): void {
    this.sendText(JSON.stringify(data));
  }

  /** As `send`, for JSON made already, in one line. */
  sendText(data: string, id?: number): void {
    const idLine = id === undefined ? "" : `id: ${id}\n`;
    this.#reply.raw.write(`${idLine}data: ${data}\n\n`);
  }
}
