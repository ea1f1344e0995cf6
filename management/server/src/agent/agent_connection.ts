import type { FastifyBaseLogger } from "fastify";
import type WebSocket from "ws";
import { type Limits, MAX_MESSAGE_BYTES } from "../limits.ts";
import { AgentLink } from "./agent_link.ts";
import {
  type AgentEvent,
  type AgentMessage,
  agentMessage,
  type CallReply,
  type ServerMessage,
  type StreamClosed,
  type StreamMessage,
  toEvent,
} from "./agent_messages.ts";

/** Whom a connection tells what its agent said. A ProtocolError thrown by one of these closes the connection. */
export interface AgentListener {
  onState(enabled: boolean): void;
  onStream(message: StreamMessage): void;
  onStreamClosed(message: StreamClosed): void;
  onEvent(event: AgentEvent): void;
  /** The connection has ended, for whatever reason; comes once and last. */
  onGone(): void;
}

/**
 * One agent's main connection. `onHello` is called once, at the agent's first message, and has to name the listener of the rest
 * with `listen`.
 */
export class AgentConnection {
  readonly #link: AgentLink<AgentMessage, CallReply>;
  readonly #onHello: (enabled: boolean) => void;
  #listener: AgentListener | undefined;
  #confirming = false;

  constructor(
    socket: WebSocket,
    limits: Limits,
    log: FastifyBaseLogger,
    onHello: (enabled: boolean) => void,
  ) {
    this.#onHello = onHello;
    this.#link = new AgentLink<AgentMessage, CallReply>(socket, {
      limits,
      log,
      maxBytes: MAX_MESSAGE_BYTES,
      schema: agentMessage,
      onMessage: (message, text) => this.#dispatch(message, text),
      onGone: () => this.#listener?.onGone(),
    });
  }

  listen(listener: AgentListener): void {
    this.#listener = listener;
  }

  /** Makes a remote call. Rejects with ApiError: timeout, not_connected when the connection ends, too_large. */
  call(module: string, method: string, params: string): Promise<CallReply> {
    return this.#link.call((id) => JSON.stringify({ type: "rpc", id, module, method, params }));
  }

  /** Sends one message; dropped when the connection has ended, since its end is told anyway. */
  send(message: ServerMessage): void {
    this.#link.send(JSON.stringify(message));
  }

  /** As `send`, for text made already; `sent` is called once the text has left this process or the connection has ended. */
  sendText(text: string, sent?: () => void): void {
    this.#link.send(text, sent);
  }

  /** The listener is told at once. */
  close(code: number, reason: string): void {
    this.#link.close(code, reason);
  }

  #dispatch(message: AgentMessage, text: string): void {
    switch (message.type) {
      case "hello":
        return this.#onHello(message.enabled);
      case "state":
        return this.#listener?.onState(message.enabled);
      case "rpcReply":
        return this.#reply(message);
      case "stream":
        this.#confirm();
        return this.#listener?.onStream(message);
      case "streamClosed":
        return this.#listener?.onStreamClosed(message);
      case "event":
        return this.#listener?.onEvent(toEvent(message, text));
    }
  }

  #reply({ id, result, code, text }: CallReply & { id: number }): void {
    this.#link.answer(id, { result, code, text });
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
}
