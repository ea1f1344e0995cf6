import type { FastifyInstance, FastifyRequest } from "fastify";
import type { Admission } from "../agent/admission.ts";
import { limitIdleness } from "../http/idleness.ts";
import type { Metrics } from "../http/metrics.ts";
import { sendPlainJson } from "../http/plain_json.ts";
import type { Limits } from "../limits.ts";
import type { Registry } from "../machines/registry.ts";
import { checkName } from "./names.ts";
import { leaveBodies, lengthOf } from "./request_body.ts";
import { runContextOf } from "./run_context.ts";
import { sendFile } from "./send_file.ts";
import type { Storage } from "./storage.ts";
import { receiveForm } from "./upload_form.ts";

export interface AgentStorageContext {
  admission: Admission;
  registry: Registry;
  storage: Storage;
  metrics: Metrics;
  limits: Limits;
}

/** What agents may do with the storage, as docs/protocol.md has it: fetch a file, send one. */
export function agentStorageRoutes(context: AgentStorageContext) {
  const { admission, registry, storage, metrics, limits } = context;

  /** The job that this request is a transfer of, if any. */
  const jobOf = (request: FastifyRequest, kind: "download" | "upload", name: string) => {
    const runContext = runContextOf(request);
    const jobs = registry.find(String(request.headers["x-machine-id"]))?.jobs;
    if (!jobs || runContext === undefined) return () => {};
    return jobs.transfer(kind, runContext, name);
  };

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
        const progress = jobOf(request, "download", name);
        return sendFile(request, reply, file, {
          name,
          onBytes(bytes, sent, total) {
            metrics.count("remote_access_storage_sent_bytes_total", bytes);
            progress(sent, total);
          },
        });
      },
    });

    routes.post<{ Params: { profile: string } }>(
      "/agent/storage/:profile",
      async (request, reply) => {
        const profile = storage.get(request.params.profile);
        let progress = (_received: number, _total: number) => {};
        const stored = await receiveForm(request, (name, chunks) => {
          progress = jobOf(request, "upload", name);
          let received = 0;
          return profile.store(name, {
            chunks,
            replace: false,
            onBytes(bytes) {
              metrics.count("remote_access_storage_received_bytes_total", bytes);
              received += bytes;
              // The form around the file is short.
              progress(received, Math.max(received, lengthOf(request) ?? received));
            },
          });
        });
        progress(stored.size, stored.size);
        return sendPlainJson(reply.code(201), stored);
      },
    );
  };
}
