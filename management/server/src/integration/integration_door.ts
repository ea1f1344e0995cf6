import type { Admission } from "../agent/admission.ts";
import type { UpgradeRoute } from "../http/upgrades.ts";
import { type Limits, MAX_INTEGRATION_MESSAGE_BYTES } from "../limits.ts";
import type { Registry } from "../machines/registry.ts";
import { IntegrationConnection } from "./integration_connection.ts";

/** Where agents come in with their integration connection. */
export function integrationDoor(
  admission: Admission,
  registry: Registry,
  limits: Limits,
): UpgradeRoute {
  return {
    path: /^\/api\/integration$/,
    maxBytes: MAX_INTEGRATION_MESSAGE_BYTES,
    admit({ headers }) {
      const { id, name, log } = admission.admit(headers);
      return (socket) => {
        log.info("integration connected");
        const connection = new IntegrationConnection(
          socket,
          limits,
          log.child({ connection: "integration" }),
          (hello) => registry.know(id, name).integration.attach(connection, hello),
        );
      };
    },
  };
}
