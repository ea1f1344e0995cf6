import type { FastifyBaseLogger } from "fastify";
import type WebSocket from "ws";
import type { RawData } from "ws";
import { CloseCode, notConnected, ProtocolError, timedOut, tooLarge } from "../errors.ts";
import { type Limits, MAX_MESSAGE_BYTES } from "../limits.ts";
import { readMessage, readText } from "../messages.ts";
import {
  type AgentMessage,
  agentMessage,
  type CallReply,
  type EventMessage,
  type ServerMessage,
  type StreamClosed,
  type StreamMessage,
} from "./agent_messages.ts";

/** Whom a connection tells what its agent said. A ProtocolError thrown by one of these closes the connection. */
export interface AgentListener {
  onState(enabled: boolean): void;
  onStream(message: StreamMessage): void;
  onStreamClosed(message: StreamClosed): void;
  onEvent(message: EventMessage): void;
  /** The connection has ended, for whatever reason; comes once and last. */
  onGone(): void;
}

interface PendingCall {
  resolve(reply: CallReply): void;
  reject(error: Error): void;
  timer: NodeJS.Timeout;
}

/**
 * One agent's WebSocket: checks what comes in, keeps the heart-beat, and matches replies to calls.
 * `onHello` is called once, at the agent's first message, and has to name the listener of the rest with `listen`.
 */
export class AgentConnection {
  readonly #socket: WebSocket;
  readonly #limits: Limits;
  readonly #log: FastifyBaseLogger;
  readonly #onHello: (enabled: boolean) => void;
  readonly #calls = new Map<number, PendingCall>();
  readonly #heartbeat: NodeJS.Timeout;
  readonly #helloTimer: NodeJS.Timeout;
  #listener: AgentListener | undefined;
  #greeted = false;
  #ended = false;
  #confirming = false;
  #lastCall = 0;
  #lastHeard = performance.now();
  #lastPing = 0;

  constructor(
    socket: WebSocket,
    limits: Limits,
    log: FastifyBaseLogger,
    onHello: (enabled: boolean) => void,
  ) {
    this.#socket = socket;
    this.#limits = limits;
    this.#log = log;
    this.#onHello = onHello;
    this.#helloTimer = setTimeout(
      () => this.close(CloseCode.policy, "no hello in time"),
      limits.helloMs,
    );
    this.#heartbeat = setInterval(() => this.#beat(), limits.pingMs / 3);
    socket.on("message", (data, isBinary) => this.#receive(data, isBinary));
    socket.on("error", (error) => log.warn({ err: error }, "agent connection failed"));
    socket.on("close", (code, reason) => this.#gone(code, reason.toString()));
  }

  listen(listener: AgentListener): void {
    this.#listener = listener;
  }

  /** Makes a remote call. Rejects with ApiError: timeout, not_connected when the connection ends, too_large. */
  call(module: string, method: string, params: string): Promise<CallReply> {
    const message = { type: "rpc", id: ++this.#lastCall, module, method, params } as const;
    return new Promise((resolve, reject) => {
      if (!this.#isOpen()) return reject(notConnected());
      const text = JSON.stringify(message);
      if (Buffer.byteLength(text) > MAX_MESSAGE_BYTES) return reject(tooLarge());
      const timer = setTimeout(() => {
        this.#calls.delete(message.id);
        reject(timedOut());
      }, this.#limits.callMs);
      this.#calls.set(message.id, { resolve, reject, timer });
      this.#socket.send(text);
    });
  }

  /** Sends one message; dropped when the connection has ended, since its end is told anyway. */
  send(message: ServerMessage): void {
    this.sendText(JSON.stringify(message));
  }

  /** As `send`, for text made already; `sent` is called once the text has left this process or the connection has ended. */
  sendText(text: string, sent: () => void = () => {}): void {
    if (this.#isOpen()) this.#socket.send(text, sent);
    else sent();
  }

  /** The listener is told at once: a peer that never answers the close must not keep the machine's place meanwhile. */
  close(code: number, reason: string): void {
    this.#socket.close(code, reason);
    this.#gone(code, reason);
  }

  #isOpen(): boolean {
    return this.#socket.readyState === this.#socket.OPEN;
  }

  #receive(data: RawData, isBinary: boolean): void {
    if (!this.#isOpen()) return;
    this.#lastHeard = performance.now();
    try {
      this.#dispatch(readMessage<AgentMessage>(agentMessage, readText(data, isBinary)));
    } catch (error) {
      if (error instanceof ProtocolError) return this.close(error.code, error.reason);
      this.#log.error({ err: error }, "message of an agent could not be processed");
      this.close(CloseCode.internal, "could not be processed");
    }
  }

  #dispatch(message: AgentMessage): void {
    if (message.type === "ping") return this.send({ type: "pong" });
    if (message.type === "pong") return;
    if ((message.type === "hello") === this.#greeted) {
      throw new ProtocolError(CloseCode.policy, "hello is the first message and comes once");
    }
    switch (message.type) {
      case "hello":
        this.#greeted = true;
        clearTimeout(this.#helloTimer);
        return this.#onHello(message.enabled);
      case "state":
        return this.#listener?.onState(message.enabled);
      case "rpcReply":
        return this.#reply(message.id, message);
      case "stream":
        this.#confirm();
        return this.#listener?.onStream(message);
      case "streamClosed":
        return this.#listener?.onStreamClosed(message);
      case "event":
        return this.#listener?.onEvent(message);
    }
  }

  // Something goes back for each bunch of output, so that its receipt is confirmed on the network at once. A sender that
  // waits for that before its next small packet would stand still for the 40 ms by which receipts are otherwise delayed.
  #confirm(): void {
    if (this.#confirming) return;
    this.#confirming = true;
    setImmediate(() => {
      this.#confirming = false;
      this.send({ type: "pong" });
    });
  }

  #reply(id: number, { result, code, text }: CallReply): void {
    const call = this.#calls.get(id);
    if (!call) return this.#log.info({ call: id }, "reply to a call that is no longer waited for");
    this.#calls.delete(id);
    clearTimeout(call.timer);
    call.resolve({ result, code, text });
  }

  #beat(): void {
    const now = performance.now();
    const silence = now - this.#lastHeard;
    if (silence >= this.#limits.silenceMs) {
      this.close(CloseCode.policy, "silent for too long");
    } else if (silence >= this.#limits.pingMs && now - this.#lastPing >= this.#limits.pingMs) {
      this.#lastPing = now;
      this.send({ type: "ping" });
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
    this.#log.info({ code, reason }, "agent connection ended");
    this.#listener?.onGone();
  }
}
