import { randomUUID } from "node:crypto";
import type { FastifyBaseLogger } from "fastify";
import type { WebSocket } from "ws";
import { short } from "../audit/names_of_input.ts";
import { badRequest, notConnected } from "../errors.ts";
import type { ApiContext } from "../http/api_routes.ts";
import type { UpgradeRoute } from "../http/upgrades.ts";
import type { Machine } from "../machines/machine.ts";
import { clampEdge } from "./client_messages.ts";
import type { TerminalOptions } from "./terminal_session.ts";

// The machine counts its limit in 32 bits of milliseconds.
const MAX_INACTIVITY_SECONDS = 4_294_967;

/** Where administrators and scripts open a shell. */
export function terminalDoor(context: ApiContext, log: FastifyBaseLogger): UpgradeRoute {
  const { access, attempts, audit, registry } = context;
  return {
    path: /^\/api\/machines\/([^/]+)\/terminal$/,
    admit({ headers, from, url, match }) {
      const { who } = access.identify(headers);
      const machine = registry.get(match[1] ?? "");
      const options = readOptions(url.searchParams);
      if (!machine.connected) throw notConnected();
      return (socket) => openTerminal(context, log, machine, { who, from }, socket, options);
    },
    onRefused({ headers, from, url, match }, refusal) {
      const machine = short(match[1]);
      if (refusal.status === 401 || refusal.status === 403) {
        const known = registry.find(machine)?.id;
        return attempts.refused(from, refusal, short(`GET ${url.pathname}`), known);
      }
      const { who } = access.identify(headers);
      const result = { ok: false, http: refusal.status, error: refusal.word };
      audit.record({ who, from, action: "terminalOpen", machine, result });
    },
  };
}

async function openTerminal(
  { audit, metrics }: ApiContext,
  log: FastifyBaseLogger,
  machine: Machine,
  { who, from }: { who: string; from: string },
  socket: WebSocket,
  options: TerminalOptions,
): Promise<void> {
  const stream = options.streamId;
  const action = { who, from, machine: machine.id, details: { stream } };
  const opening = audit.begin({ ...action, action: "terminalOpen" });
  let openedAt: number | undefined;
  let reason: string | undefined;
  // The end may come while the opening is still under way, and is told after it. What has not been opened has no end.
  const tellEnd = () => {
    if (openedAt === undefined || reason === undefined) return;
    const result = { ok: true, reason, ms: Math.round(performance.now() - openedAt) };
    audit.record({ ...action, action: "terminalEnd", result });
  };
  const session = machine.createSession(socket, options, (why) => {
    reason = why;
    tellEnd();
  });
  try {
    const code = await session.open();
    opening.end({ ok: code === 0, code });
    if (code === 0) openedAt = performance.now();
    tellEnd();
    metrics.count(
      code === 0 ? "remote_access_terminals_opened_total" : "remote_access_terminals_failed_total",
    );
  } catch (error) {
    log.error({ err: error, stream }, "terminal could not be opened");
    session.end("openFailed");
    opening.end({ ok: false, reason: "openFailed" });
  }
}

function readOptions(query: URLSearchParams): TerminalOptions {
  return {
    streamId: randomUUID(),
    cols: clampEdge(readNumber(query, "cols") ?? 80),
    rows: clampEdge(readNumber(query, "rows") ?? 24),
    inactivityTimeout: readTimeout(query),
    acknowledged: query.get("ack") === "1",
  };
}

function readTimeout(query: URLSearchParams): number | undefined {
  const seconds = readNumber(query, "inactivityTimeout");
  if (seconds === undefined) return undefined;
  if (Number.isInteger(seconds) && seconds >= 1 && seconds <= MAX_INACTIVITY_SECONDS)
    return seconds;
  throw badRequest(`inactivityTimeout is a whole number from 1 to ${MAX_INACTIVITY_SECONDS}.`);
}

function readNumber(query: URLSearchParams, name: string): number | undefined {
  const text = query.get(name);
  if (text === null) return undefined;
  const value = text.trim() === "" ? Number.NaN : Number(text);
  if (Number.isFinite(value)) return value;
  throw badRequest(`${name} is not a number.`);
}
