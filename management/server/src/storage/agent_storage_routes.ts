import type { FastifyInstance } from "fastify";
import type { Admission } from "../agent/admission.ts";
import type { Metrics } from "../http/metrics.ts";
import type { Limits } from "../limits.ts";
import { checkName } from "./names.ts";
import { leaveBodies, limitIdleness } from "./request_body.ts";
import { sendFile } from "./send_file.ts";
import type { Storage } from "./storage.ts";
import { receiveForm } from "./upload_form.ts";

export interface AgentStorageContext {
  admission: Admission;
  storage: Storage;
  metrics: Metrics;
  limits: Limits;
}

/** What agents may do with the storage, as docs/protocol.md has it: fetch a file, send one. */
export function agentStorageRoutes({ admission, storage, metrics, limits }: AgentStorageContext) {
  return async (routes: FastifyInstance): Promise<void> => {
    leaveBodies(routes);
    routes.addHook("onRequest", async (request) => {
      admission.identify(request.headers);
      limitIdleness(request, limits.transferIdleMs);
    });

    routes.route<{ Params: { profile: string; "*": string } }>({
      method: ["GET", "HEAD"],
      url: "/agent/storage/:profile/*",
      handler: async (request, reply) => {
        const profile = storage.get(request.params.profile);
        const name = checkName(request.params["*"]);
        const file = await profile.open(name);
        return sendFile(request, reply, file, {
          name,
          onBytes: (bytes) => metrics.count("remote_access_storage_sent_bytes_total", bytes),
        });
      },
    });

    routes.post<{ Params: { profile: string } }>(
      "/agent/storage/:profile",
      async (request, reply) => {
        const profile = storage.get(request.params.profile);
        const stored = await receiveForm(request, (name, chunks) =>
          profile.store(name, {
            chunks,
            replace: false,
            onBytes: (bytes) => metrics.count("remote_access_storage_received_bytes_total", bytes),
          }),
        );
        return reply.code(201).send(stored);
      },
    );
  };
}
