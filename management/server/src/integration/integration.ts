import type { AgentEvent } from "../agent/agent_messages.ts";
import { CloseCode, notConnected } from "../errors.ts";
import type { Limits } from "../limits.ts";
import { CallQueue } from "../machines/call_queue.ts";
import type { EventLog } from "../machines/event_log.ts";
import type { IntegrationConnection, IntegrationListener } from "./integration_connection.ts";
import type { IntegrationHello, PolicyAgentStatus, PolicyReply } from "./integration_messages.ts";

/** The policy agent whose state is the machine's switch. */
const FEATURE = "RemoteAccess";

export interface IntegrationContext {
  limits: Limits;
  events: EventLog;
  onEnabled(enabled: boolean): void;
}

/** One machine's integration: policy calls to it, and the events that its store delivers. */
export class Integration {
  readonly #context: IntegrationContext;
  readonly #calls: CallQueue;
  #connection: IntegrationConnection | undefined;

  constructor(context: IntegrationContext) {
    this.#context = context;
    const { callsWaiting, policyCallsAtOnce } = context.limits;
    this.#calls = new CallQueue(callsWaiting, policyCallsAtOnce);
  }

  /** The agent has said hello; an earlier connection gives way. The result listens to the new one. */
  attach(connection: IntegrationConnection, { store }: IntegrationHello): IntegrationListener {
    const { events, onEnabled } = this.#context;
    this.#connection?.close(CloseCode.replaced, "replaced");
    this.#connection = connection;
    connection.send({ type: "welcome", acknowledged: events.lastWritten(store) });
    const acknowledge = acknowledger(connection, events, store);
    return {
      onStatus: (agents) => {
        const enabled = findEnabled(agents);
        if (enabled !== undefined) onEnabled(enabled);
      },
      onEvent: (event) => {
        this.#take(event, store);
        acknowledge();
      },
      onGone: () => {
        this.#connection = undefined;
        this.#calls.clear();
      },
    };
  }

  /** A policy call in its turn; `input` is JSON. Rejects with ApiError: not_connected, busy, timeout, too_large. */
  call(method: string, input: string): Promise<PolicyReply> {
    const connection = this.#connection;
    if (!connection) return Promise.reject(notConnected());
    return this.#calls.run(() => connection.call(method, input));
  }

  detach(code: number, reason: string): void {
    this.#connection?.close(code, reason);
  }

  #take(event: AgentEvent, store: string): void {
    this.#context.events.append(event, store);
  }
}

/** What tells the agent, after each call of it, how far its events are kept, once they are. Many at once are told together. */
function acknowledger(connection: IntegrationConnection, events: EventLog, store: string) {
  let asked = false;
  let running = false;
  return async () => {
    asked = true;
    if (running) return;
    running = true;
    while (asked) {
      asked = false;
      await events.written();
      connection.send({ type: "eventAck", seq: events.lastWritten(store) });
    }
    running = false;
  };
}

function findEnabled(agents: PolicyAgentStatus[]): boolean | undefined {
  return agents.find((agent) => agent.name === FEATURE)?.enabled;
}
