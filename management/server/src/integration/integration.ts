import { CloseCode, notConnected } from "../errors.ts";
import type { JobBoard } from "../jobs/job_board.ts";
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
  jobs: JobBoard;
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
  attach(connection: IntegrationConnection, hello: IntegrationHello): IntegrationListener {
    const { events, jobs, onEnabled } = this.#context;
    const { instance, store } = hello;
    this.#connection?.close(CloseCode.replaced, "replaced");
    this.#connection = connection;
    jobs.greeted(instance);
    connection.send({ type: "welcome", acknowledged: events.lastWritten(store) });
    const acknowledge = acknowledger(connection, events, store);
    return {
      onStatus: (agents) => {
        const enabled = findEnabled(agents);
        if (enabled !== undefined) onEnabled(enabled);
      },
      onEvent: (event) => {
        const kept = events.append(event, store);
        if (kept) jobs.onEvent(kept);
        acknowledge();
      },
      onGone: () => {
        this.#connection = undefined;
        this.#calls.clear();
      },
    };
  }

  /** A policy call in its turn; `input` is JSON, `by` who makes it. Rejects with ApiError: not_connected, busy, timeout, too_large. */
  call(method: string, input: string, by: string): Promise<PolicyReply> {
    const connection = this.#connection;
    if (!connection) return Promise.reject(notConnected());
    let onReply = (_reply: PolicyReply) => {};
    const onSent = () => {
      onReply = this.#context.jobs.asked(method, input, by);
    };
    return this.#calls.run(() =>
      connection.call(method, input, { onSent, onReply: (reply) => onReply(reply) }),
    );
  }

  detach(code: number, reason: string): void {
    this.#connection?.close(code, reason);
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
