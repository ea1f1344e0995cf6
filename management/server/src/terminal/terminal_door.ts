import { randomUUID } from "node:crypto";
import type { FastifyBaseLogger } from "fastify";
import type { WebSocket } from "ws";
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
  const { access, registry } = context;
  return {
    path: /^\/api\/machines\/([^/]+)\/terminal$/,
    admit({ headers, url, match }) {
      const { who } = access.identify(headers);
      const machine = registry.get(match[1] ?? "");
      const options = readOptions(url.searchParams);
      if (!machine.connected) throw notConnected();
      return (socket) => openTerminal(context, log, machine, who, socket, options);
    },
  };
}

async function openTerminal(
  { audit, metrics }: ApiContext,
  log: FastifyBaseLogger,
  machine: Machine,
  who: string,
  socket: WebSocket,
  options: TerminalOptions,
): Promise<void> {
  const stream = options.streamId;
  const record = (
    action: "terminalOpen" | "terminalEnd",
    details: Record<string, string | number>,
  ) => audit.record({ who, action, machine: machine.id, details: { stream, ...details } });
  const session = machine.createSession(socket, options, (reason) =>
    record("terminalEnd", { reason }),
  );
  try {
    const code = await session.open();
    record("terminalOpen", { code });
    metrics.count(
      code === 0 ? "remote_access_terminals_opened_total" : "remote_access_terminals_failed_total",
    );
  } catch (error) {
    log.error({ err: error, stream }, "terminal could not be opened");
    session.end("openFailed");
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
