import type { IncomingHttpHeaders } from "node:http";
import type { FastifyBaseLogger } from "fastify";
import { bearerOf, equalSecrets } from "../access/secrets.ts";
import { badRequest, unauthorized } from "../errors.ts";
import type { Metrics } from "../http/metrics.ts";
import type { UpgradeRoute } from "../http/upgrades.ts";
import type { Limits } from "../limits.ts";
import { printable } from "../machines/refusals.ts";
import type { Registry } from "../machines/registry.ts";
import { AgentConnection } from "./agent_connection.ts";

const MAX_NAME_BYTES = 255;

/** Where agents come in, with the enrolment key. */
export function agentDoor(
  enrolmentKey: string,
  registry: Registry,
  metrics: Metrics,
  limits: Limits,
  log: FastifyBaseLogger,
): UpgradeRoute {
  return {
    path: /^\/api\/agent$/,
    admit({ headers }) {
      const id = headerOf(headers, "x-machine-id");
      const name = decodeName(headerOf(headers, "x-machine-name"));
      if (!equalSecrets(bearerOf(headers.authorization) ?? "", enrolmentKey)) {
        metrics.count("remote_access_agents_refused_total");
        registry.refuse(id, name ?? "");
        log.warn({ claimedMachine: printable(id, 64) }, "agent refused: wrong enrolment key");
        throw unauthorized();
      }
      if (!/^[0-9A-Za-z-]{8,64}$/.test(id)) throw badRequest("X-Machine-Id is malformed.");
      if (!name) throw badRequest("X-Machine-Name is malformed.");
      const machineLog = log.child({ machine: id });
      return (socket) => {
        machineLog.info("agent connected");
        const connection = new AgentConnection(socket, limits, machineLog, (enabled) =>
          registry.attach(id, printable(name, MAX_NAME_BYTES), connection, enabled),
        );
      };
    },
  };
}

function headerOf(headers: IncomingHttpHeaders, name: string): string {
  return String(headers[name] ?? "");
}

/** Undefined unless it is percent-encoded UTF-8 of at most 255 bytes. */
function decodeName(encoded: string): string | undefined {
  try {
    const name = decodeURIComponent(encoded);
    return Buffer.byteLength(name) <= MAX_NAME_BYTES ? name : undefined;
  } catch {
    return undefined;
  }
}
