import type { FastifyBaseLogger } from "fastify";
import type WebSocket from "ws";
import type { RawData } from "ws";
import type { z } from "zod";
import { CloseCode, notConnected, ProtocolError, timedOut, tooLarge } from "../errors.ts";
import type { Limits } from "../limits.ts";
import { readMessage, readText } from "../messages.ts";

export interface LinkOptions<Message> {
  limits: Limits;
  log: FastifyBaseLogger;
  /** The longest message that the agent takes. */
  maxBytes: number;
  schema: z.ZodType<Message>;
  /** Each message but heart-beats, "hello" first and once, with the text that it was. A ProtocolError closes the link. */
  onMessage(message: Message, text: string): void;
  /** The link has ended, for whatever reason; comes once and last. */
  onGone(): void;
}

/** Follows a call further than its time limit goes. */
export interface CallFollower<Reply> {
  /** The call has gone to the agent. */
  onSent(): void;
  /** The agent's answer; comes also late, but may not come. */
  onReply(reply: Reply): void;
}

interface PendingCall<Reply> {
  resolve(reply: Reply): void;
  reject(error: Error): void;
  timer: NodeJS.Timeout;
  follower: CallFollower<Reply> | undefined;
}

/** Calls beyond their time whose answer is still of interest. */
const MAX_LATE_CALLS = 1000;

/** An agent's WebSocket, of whichever kind: checks what comes in, keeps the heart-beat, and matches replies to calls. */
export class AgentLink<Message extends { type: string }, Reply> {
  readonly #socket: WebSocket;
  readonly #options: LinkOptions<Message>;
  readonly #calls = new Map<number, PendingCall<Reply>>();
  /** Of `#calls`, those that have had their time; the oldest first. */
  readonly #late = new Set<number>();
  readonly #heartbeat: NodeJS.Timeout;
  readonly #helloTimer: NodeJS.Timeout;
  #greeted = false;
  #ended = false;
  #lastCall = 0;
  #lastHeard = performance.now();
  #lastPing = 0;

  constructor(socket: WebSocket, options: LinkOptions<Message>) {
    this.#socket = socket;
    this.#options = options;
    const { limits, log } = options;
    this.#helloTimer = setTimeout(
      () => this.close(CloseCode.policy, "no hello in time"),
      limits.helloMs,
    );
    this.#heartbeat = setInterval(() => this.#beat(), limits.pingMs / 3);
    socket.on("message", (data, isBinary) => this.#receive(data, isBinary));
    socket.on("error", (error) => log.warn({ err: error }, "agent connection failed"));
    socket.on("close", (code, reason) => this.#gone(code, reason.toString()));
  }

  /**
   * Sends the call that `toText` makes of an id. Rejects with ApiError: timeout, not_connected when the connection ends,
   * too_large.
   */
  call(toText: (id: number) => string, follower?: CallFollower<Reply>): Promise<Reply> {
    const id = ++this.#lastCall;
    return new Promise((resolve, reject) => {
      if (!this.#isOpen()) return reject(notConnected());
      const text = toText(id);
      if (Buffer.byteLength(text) > this.#options.maxBytes) return reject(tooLarge());
      const timer = setTimeout(() => {
        reject(timedOut());
        if (follower) this.#late.add(id);
        else this.#calls.delete(id);
        if (this.#late.size > MAX_LATE_CALLS) this.#forgetOldest();
      }, this.#options.limits.callMs);
      this.#calls.set(id, { resolve, reject, timer, follower });
      follower?.onSent();
      this.send(text);
    });
  }

  /** The agent has answered a call. */
  answer(id: number, reply: Reply): void {
    const call = this.#calls.get(id);
    if (!call) {
      return this.#options.log.info({ call: id }, "reply to a call that is no longer waited for");
    }
    this.#calls.delete(id);
    this.#late.delete(id);
    clearTimeout(call.timer);
    call.follower?.onReply(reply);
    call.resolve(reply);
  }

  /** Sends one message; `sent` is called once it has left this process or the connection has ended. */
  send(text: string, sent: () => void = () => {}): void {
    if (!this.#isOpen()) return sent();
    this.#socket.send(text, sent);
    if (this.#socket.bufferedAmount <= this.#options.limits.untakenBytes) return;
    this.close(CloseCode.policy, "takes nothing");
    this.#socket.terminate();
  }

  /** `onGone` is called at once: a peer that never answers the close must not keep the machine's place meanwhile. */
  close(code: number, reason: string): void {
    this.#socket.close(code, reason);
    this.#gone(code, reason);
  }

  #forgetOldest(): void {
    for (const id of this.#late) {
      this.#late.delete(id);
      this.#calls.delete(id);
      return;
    }
  }

  #isOpen(): boolean {
    return this.#socket.readyState === this.#socket.OPEN;
  }

  #receive(data: RawData, isBinary: boolean): void {
    if (!this.#isOpen()) return;
    this.#lastHeard = performance.now();
    try {
      const text = readText(data, isBinary);
      this.#dispatch(readMessage(this.#options.schema, text), text);
    } catch (error) {
      if (error instanceof ProtocolError) return this.close(error.code, error.reason);
      this.#options.log.error({ err: error }, "message of an agent could not be processed");
      this.close(CloseCode.internal, "could not be processed");
    }
  }

  #dispatch(message: Message, text: string): void {
    if (message.type === "ping") return this.send('{"type":"pong"}');
    if (message.type === "pong") return;
    if ((message.type === "hello") === this.#greeted) {
      throw new ProtocolError(CloseCode.policy, "hello is the first message and comes once");
    }
    this.#greeted = true;
    clearTimeout(this.#helloTimer);
    this.#options.onMessage(message, text);
  }

  #beat(): void {
    const { pingMs, silenceMs } = this.#options.limits;
    const now = performance.now();
    const silence = now - this.#lastHeard;
    if (silence >= silenceMs) {
      this.close(CloseCode.policy, "silent for too long");
    } else if (silence >= pingMs && now - this.#lastPing >= pingMs) {
      this.#lastPing = now;
      this.send('{"type":"ping"}');
    }
  }

  #gone(code: number, reason: string): void {
    if (this.#ended) return;
    this.#ended = true;
    clearTimeout(this.#helloTimer);
    clearInterval(this.#heartbeat);
    for (const call of this.#calls.values()) {
      clearTimeout(call.timer);
      call.reject(notConnected());
    }
    this.#calls.clear();
    this.#options.log.info({ code, reason }, "agent connection ended");
    this.#options.onGone();
  }
}
