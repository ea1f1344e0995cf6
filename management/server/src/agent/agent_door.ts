import type { UpgradeRoute } from "../http/upgrades.ts";
import type { Limits } from "../limits.ts";
import type { Registry } from "../machines/registry.ts";
import type { Admission } from "./admission.ts";
import { AgentConnection } from "./agent_connection.ts";

/** Where agents come in with their main connection. */
export function agentDoor(admission: Admission, registry: Registry, limits: Limits): UpgradeRoute {
  return {
    path: /^\/api\/agent$/,
    admit({ headers }) {
      const { id, name, log } = admission.admit(headers);
      return (socket) => {
        log.info("agent connected");
        const connection = new AgentConnection(socket, limits, log, (enabled) =>
          registry.attach(id, name, connection, enabled),
        );
      };
    },
  };
}
