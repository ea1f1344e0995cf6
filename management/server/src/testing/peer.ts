import { EventEmitter, once } from "node:events";
import WebSocket from "ws";

// biome-ignore lint/suspicious/noExplicitAny: tests look into messages of any shape.
export type Message = Record<string, any>;
export interface Closed {
  code: number;
  reason: string;
}

/** One end of a WebSocket whose messages can be waited for, in order. */
export class Peer {
  readonly socket: WebSocket;
  readonly closed: Promise<Closed>;
  readonly #unread: Message[] = [];
  readonly #news = new EventEmitter();
  #end: Closed | undefined;

  protected constructor(socket: WebSocket) {
    this.socket = socket;
    this.closed = new Promise((resolve) => {
      socket.on("close", (code, reason) => {
        this.#end = { code, reason: reason.toString() };
        this.#news.emit("more");
        resolve(this.#end);
      });
    });
    socket.on("error", () => {}); // "close" follows.
    socket.on("message", (data) => {
      const message: Message = JSON.parse(data.toString());
      if (!this.take(message)) this.#unread.push(message);
      this.#news.emit("more");
    });
  }

  /** Resolves once the upgrade has succeeded; rejects with `{status, body}` when it was refused. */
  static async open(url: string, headers: Record<string, string>): Promise<Peer> {
    const socket = startSocket(url, headers);
    const peer = new Peer(socket); // Before the first message can come, together with the upgrade's answer.
    await opening(socket);
    return peer;
  }

  /** The next unread message of this type; fails when the connection ends before it. Others stay unread. */
  async next(type: string): Promise<Message> {
    const index = () => this.#unread.findIndex((message) => message.type === type);
    await this.until(() => index() >= 0);
    return this.#unread.splice(index(), 1)[0] as Message;
  }

  /** Waits for what messages bring about; fails when the connection ends before it. */
  async until(condition: () => boolean): Promise<void> {
    while (!condition()) {
      if (this.#end) throw new Error(`closed before it came: ${JSON.stringify(this.#end)}`);
      await once(this.#news, "more");
    }
  }

  /** Takes out what is unread now. */
  unread(): Message[] {
    return this.#unread.splice(0);
  }

  /** Resolves once an agent's other end has taken in what was sent so far. */
  async heard(): Promise<void> {
    this.send({ type: "ping" });
    await this.next("pong");
  }

  send(message: unknown): void {
    this.socket.send(typeof message === "string" ? message : JSON.stringify(message));
  }

  /** A subclass may deal with a message at once; it then isn't queued. */
  protected take(_message: Message): boolean {
    return false;
  }
}

export async function openSocket(url: string, headers: Record<string, string>): Promise<WebSocket> {
  const socket = startSocket(url, headers);
  await opening(socket);
  return socket;
}

function startSocket(url: string, headers: Record<string, string>): WebSocket {
  return new WebSocket(url.replace(/^http/, "ws"), { headers });
}

function opening(socket: WebSocket): Promise<void> {
  return new Promise((resolve, reject) => {
    socket.on("open", () => resolve());
    socket.on("error", reject);
    socket.on("unexpected-response", (_request, response) => {
      let text = "";
      response.on("data", (chunk) => {
        text += chunk;
      });
      response.on("end", () =>
        reject({ status: response.statusCode, body: JSON.parse(text || "null") }),
      );
    });
  });
}
