import type { FastifyInstance, FastifyRequest } from "fastify";
import type { AuditAction } from "../audit/audit_entry.ts";
import { short } from "../audit/names_of_input.ts";
import { badRequest } from "../errors.ts";
import { administratorsOnly } from "../http/administrators.ts";
import type { ApiContext } from "../http/api_routes.ts";
import { goneSignal } from "../http/gone_signal.ts";
import { limitIdleness } from "../http/idleness.ts";
import type { Limits } from "../limits.ts";
import { checkName } from "./names.ts";
import { chunksOf, leaveBodies } from "./request_body.ts";
import { attachment, sendFile } from "./send_file.ts";
import type { Storage } from "./storage.ts";
import { openEntry } from "./zip_entry.ts";

interface FileRoute {
  Params: { profile: string; "*": string };
  Querystring: { entry?: string };
}

/** What administrators and scripts may do with the storage, as docs/protocol.md has it. */
export function storageRoutes(context: ApiContext, storage: Storage, limits: Limits) {
  const { metrics } = context;

  return async (api: FastifyInstance): Promise<void> => {
    const { note } = administratorsOnly(api, context);
    leaveBodies(api);
    api.addHook("onRequest", async (request) => limitIdleness(request, limits.transferIdleMs));

    api.get("/storage", async () => storage.profiles);

    api.get<{ Params: { profile: string } }>("/storage/:profile", async (request) =>
      storage.get(request.params.profile).list(),
    );

    // A wildcard, so that a name with separators in it is refused as a name and not taken for an unknown route.
    const path = "/storage/:profile/*";

    // Whatever a file is said to be, it is taken; also where that cannot be read.
    const forgetType = async ({ headers }: FastifyRequest) => {
      delete headers["content-type"];
    };

    const putting = { onRequest: forgetType, config: { audit: onFile("storagePut") } };
    api.put<FileRoute>(path, putting, async (request, reply) => {
      const profile = storage.get(request.params.profile);
      const name = checkName(request.params["*"]);
      const stored = await profile.store(name, {
        chunks: chunksOf(request, profile.maxSize),
        replace: true,
        onBytes: (bytes) => metrics.count("remote_access_storage_received_bytes_total", bytes),
      });
      note(request, { bytes: stored.size });
      return reply.code(201).send(stored);
    });

    api.route<FileRoute>({
      method: ["GET", "HEAD"],
      url: path,
      config: { audit: onFile("storageGet") },
      handler: async (request, reply) => {
        const profile = storage.get(request.params.profile);
        const name = checkName(request.params["*"]);
        const { entry } = request.query;
        if (entry !== undefined && typeof entry !== "string") {
          throw badRequest("entry is named more than once.");
        }
        const file = await profile.open(name);
        if (entry !== undefined) note(request, {}, { entry: short(entry) });
        if (entry === undefined) {
          let bytes = 0;
          const onBytes = (n: number) => {
            metrics.count("remote_access_storage_sent_bytes_total", n);
            bytes += n;
            note(request, { bytes });
          };
          return sendFile(request, reply, file, { name, onBytes });
        }
        const { size, stream } = await openEntry(file, entry, goneSignal(reply));
        reply.headers({ ...attachment(lastPart(entry)), "content-length": size });
        if (request.method !== "HEAD") return reply.send(stream);
        stream.destroy();
        return reply.send();
      },
    });

    const deleting = { config: { audit: onFile("storageDelete") } };
    api.delete<FileRoute>(path, deleting, async (request, reply) => {
      const profile = storage.get(request.params.profile);
      const name = checkName(request.params["*"]);
      await profile.remove(name);
      return reply.code(204).send();
    });
  };
}

/** What the audit log says of a request that is for a stored file. */
function onFile(action: AuditAction) {
  return (request: FastifyRequest) => {
    const params = request.params as FileRoute["Params"];
    return { action, details: { profile: short(params.profile), name: short(params["*"]) } };
  };
}

function lastPart(path: string): string {
  return path.split(/[\\/]/).at(-1) || "entry";
}
