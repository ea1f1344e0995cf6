import type { FastifyBaseLogger } from "fastify";
import type WebSocket from "ws";
import { AgentLink, type CallFollower } from "../agent/agent_link.ts";
import { type AgentEvent, toEvent } from "../agent/agent_messages.ts";
import { type Limits, MAX_INTEGRATION_MESSAGE_BYTES } from "../limits.ts";
import { membersOf } from "../raw_json.ts";
import {
  type IntegrationHello,
  type IntegrationMessage,
  type IntegrationServerMessage,
  integrationMessage,
  type PolicyAgentStatus,
  type PolicyReply,
} from "./integration_messages.ts";

/** Whom a connection tells what its agent said. */
export interface IntegrationListener {
  onStatus(agents: PolicyAgentStatus[]): void;
  onEvent(event: AgentEvent): void;
  /** The connection has ended, for whatever reason; comes once and last. */
  onGone(): void;
}

/** One agent's integration connection. `onHello` is called once and names the listener of the rest. */
export class IntegrationConnection {
  readonly #link: AgentLink<IntegrationMessage, PolicyReply>;
  readonly #onHello: (hello: IntegrationHello) => IntegrationListener;
  #listener: IntegrationListener | undefined;

  constructor(
    socket: WebSocket,
    limits: Limits,
    log: FastifyBaseLogger,
    onHello: (hello: IntegrationHello) => IntegrationListener,
  ) {
    this.#onHello = onHello;
    this.#link = new AgentLink<IntegrationMessage, PolicyReply>(socket, {
      limits,
      log,
      maxBytes: MAX_INTEGRATION_MESSAGE_BYTES,
      schema: integrationMessage,
      onMessage: (message, text) => this.#dispatch(message, text),
      onGone: () => this.#listener?.onGone(),
    });
  }

  /** Calls a policy method; `input` is JSON. Rejects with ApiError: timeout, not_connected, too_large. */
  call(method: string, input: string, follower: CallFollower<PolicyReply>): Promise<PolicyReply> {
    const name = JSON.stringify(method);
    return this.#link.call(
      (id) => `{"type":"policy","id":${id},"method":${name},"input":${input}}`,
      follower,
    );
  }

  send(message: IntegrationServerMessage): void {
    this.#link.send(JSON.stringify(message));
  }

  /** The listener is told at once. */
  close(code: number, reason: string): void {
    this.#link.close(code, reason);
  }

  #dispatch(message: IntegrationMessage, text: string): void {
    switch (message.type) {
      case "hello":
        this.#listener = this.#onHello(message);
        return;
      case "status":
        return this.#listener?.onStatus(message.agents);
      case "policyReply": {
        const output = membersOf(text).get("output") ?? "null";
        return this.#link.answer(message.id, { status: message.status, output });
      }
      case "event":
        return this.#listener?.onEvent(toEvent(message, text));
    }
  }
}
