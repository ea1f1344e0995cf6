/** Sizes that both ends of a connection agree on. */
export const MAX_MESSAGE_BYTES = 1024 * 1024;
export const MAX_INTEGRATION_MESSAGE_BYTES = 8 * 1024 * 1024;
export const WINDOW_BYTES = 256 * 1024;

/** How long and how many: times in milliseconds. Replaced as a whole by tests that cannot wait. */
export interface Limits {
  /** From the upgrade of an agent's connection to its "hello". */
  helloMs: number;
  /** Silence of an agent after which it is pinged. */
  pingMs: number;
  /** Silence of an agent after which it is given up. */
  silenceMs: number;
  /** One remote call or policy call, from its sending on. */
  callMs: number;
  /** What may lie here for an agent that reads slowly: more than all calls that run at once. */
  untakenBytes: number;
  /** Calls of one machine that may wait for their turn, remote calls and policy calls each. */
  callsWaiting: number;
  /** Policy calls of one machine that run at once. */
  policyCallsAtOnce: number;
  /** From the request for a session's end to the agent's "streamClosed". */
  closeMs: number;
  /** What a stopping server gives the machines to end their sessions. */
  shutdownMs: number;
  /** Without any progress of a file that is sent or received. */
  transferIdleMs: number;
  /** How long an action may take before the audit log tells it as under way. */
  underWayMs: number;
  /** Between two WebSocket pings to a terminal's client. */
  clientPingMs: number;
}

export const defaultLimits: Limits = {
  helloMs: 10_000,
  pingMs: 15_000,
  silenceMs: 45_000,
  callMs: 60_000,
  untakenBytes: 128 * 1024 * 1024,
  callsWaiting: 32,
  policyCallsAtOnce: 8,
  closeMs: 30_000,
  shutdownMs: 3_000,
  transferIdleMs: 60_000,
  underWayMs: 2_000,
  clientPingMs: 30_000,
};
