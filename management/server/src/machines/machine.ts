import type { FastifyBaseLogger } from "fastify";
import type WebSocket from "ws";
import type { AgentConnection, AgentListener } from "../agent/agent_connection.ts";
import type {
  AgentEvent,
  CallReply,
  StreamClosed,
  StreamMessage,
} from "../agent/agent_messages.ts";
import { CloseCode, notConnected } from "../errors.ts";
import { Integration } from "../integration/integration.ts";
import type { JobBoard } from "../jobs/job_board.ts";
import type { Limits } from "../limits.ts";
import {
  type EndReason,
  type TerminalOptions,
  TerminalSession,
} from "../terminal/terminal_session.ts";
import { CallQueue } from "./call_queue.ts";
import type { EventLog } from "./event_log.ts";

/** What an agent can make this server remember; more than that is not counted. */
const MAX_BARE_STREAMS = 1000;

/** A machine as `GET /api/machines` shows it. */
export interface MachineState {
  id: string;
  name: string;
  connected: boolean;
  enabled: boolean | null;
  sessions: number;
}

export interface MachineContext {
  limits: Limits;
  log: FastifyBaseLogger;
  /** Something of the machine's state is different now. */
  onChange(): void;
}

/** A machine that has connected at least once, with the connections of its agent while there are any. */
export class Machine implements AgentListener {
  readonly id: string;
  readonly events: EventLog;
  readonly jobs: JobBoard;
  readonly integration: Integration;
  name: string;
  /** As the machine said last; null before it has. */
  enabled: boolean | null;
  /** When it was connected or, if it is away, when it was lost. */
  since: Date;
  readonly #context: MachineContext;
  readonly #sessions = new Map<string, TerminalSession>();
  /** Streams that have output and no session here: terminals that a script opened by a bare call. */
  readonly #bareStreams = new Set<string>();
  readonly #calls: CallQueue;
  #agent: AgentConnection | undefined;

  constructor(
    known: { id: string; name: string; enabled: boolean | null; since: Date },
    events: EventLog,
    jobs: JobBoard,
    context: MachineContext,
  ) {
    this.id = known.id;
    this.name = known.name;
    this.enabled = known.enabled;
    this.since = known.since;
    this.events = events;
    this.jobs = jobs;
    this.#context = context;
    this.#calls = new CallQueue(context.limits.callsWaiting);
    this.integration = new Integration({
      limits: context.limits,
      events,
      jobs,
      onEnabled: (enabled) => this.onState(enabled),
    });
  }

  get connected(): boolean {
    return this.#agent !== undefined;
  }

  get sessions(): TerminalSession[] {
    return [...this.#sessions.values()];
  }

  get state(): MachineState {
    const { id, name, connected, enabled } = this;
    return { id, name, connected, enabled, sessions: this.#sessions.size + this.#bareStreams.size };
  }

  /** The machine's agent has said hello; an earlier connection of it gives way. */
  attach(agent: AgentConnection, name: string, enabled: boolean): void {
    this.#agent?.close(CloseCode.replaced, "replaced");
    this.#agent = agent;
    this.name = name;
    this.enabled = enabled;
    this.since = new Date();
    agent.listen(this);
    this.#context.onChange();
  }

  /** Ends the connections, and with them every session. */
  detach(code: number, reason: string): void {
    this.integration.detach(code, reason);
    this.#agent?.close(code, reason);
  }

  /** A remote call in its turn. Rejects with ApiError: not_connected, busy, timeout, too_large. */
  call(module: string, method: string, params: string): Promise<CallReply> {
    return this.#inTurn((agent) => agent.call(module, method, params));
  }

  /**
   * A new session for a client whose WebSocket has just opened; the caller opens it. `onEnded` comes once, when its client
   * has been told.
   */
  createSession(
    client: WebSocket,
    options: TerminalOptions,
    onEnded: (reason: EndReason) => void,
  ): TerminalSession {
    const agent = this.#agent;
    if (!agent) throw notConnected();
    const session = new TerminalSession(client, options, {
      agent,
      limits: this.#context.limits,
      runCall: (job) => this.#inTurn(job),
      onEnded: (_session, reason) => onEnded(reason),
      onRemoved: () => {
        this.#sessions.delete(options.streamId);
        this.#context.onChange();
      },
    });
    this.#sessions.set(options.streamId, session);
    this.#context.onChange();
    return session;
  }

  onState(enabled: boolean): void {
    if (enabled === this.enabled) return;
    this.enabled = enabled;
    this.#context.onChange();
  }

  onStream(message: StreamMessage): void {
    const session = this.#sessions.get(message.stream);
    if (session) return session.fromMachine(message);
    // A stream that was opened by a bare call, or is forgotten already: its output goes nowhere, but must not block.
    if (message.message === "streamStop" || message.message === "resize") return;
    this.#countBare(message.stream);
    const bytes = Buffer.byteLength(message.content);
    this.#agent?.send({ type: "streamCredit", stream: message.stream, bytes });
  }

  onStreamClosed(message: StreamClosed): void {
    if (this.#bareStreams.delete(message.stream)) this.#context.onChange();
    this.#sessions.get(message.stream)?.onStreamClosed(message.reason);
  }

  onEvent(event: AgentEvent): void {
    this.events.append(event);
  }

  onGone(): void {
    this.#agent = undefined;
    this.since = new Date();
    this.#calls.clear();
    this.#bareStreams.clear();
    for (const session of this.sessions) session.onMachineLost();
    this.#context.onChange();
  }

  #countBare(stream: string): void {
    if (this.#bareStreams.has(stream) || this.#bareStreams.size === MAX_BARE_STREAMS) return;
    this.#bareStreams.add(stream);
    this.#context.onChange();
  }

  #inTurn(job: (agent: AgentConnection) => Promise<CallReply>): Promise<CallReply> {
    const agent = this.#agent;
    if (!agent) return Promise.reject(notConnected());
    return this.#calls.run(() => job(agent));
  }
}
