import type { FastifyInstance, FastifyRequest } from "fastify";
import type { Access } from "../access/access.ts";
import type { AuditAction } from "../audit/audit_entry.ts";
import type { AuditLog } from "../audit/audit_log.ts";
import { namesOfInput, short } from "../audit/names_of_input.ts";
import type { RefusedAttempts } from "../audit/refused_attempts.ts";
import { badRequest } from "../errors.ts";
import { feedJobs } from "../jobs/jobs_feed.ts";
import { MAX_INTEGRATION_MESSAGE_BYTES } from "../limits.ts";
import type { Registry } from "../machines/registry.ts";
import { depthOf, MAX_DEPTH } from "../raw_json.ts";
import { administratorsOnly } from "./administrators.ts";
import type { ClientAddresses } from "./client_addresses.ts";
import { EventStream } from "./event_stream.ts";
import type { LiveFeed } from "./live_feed.ts";
import type { Metrics } from "./metrics.ts";

export interface ApiContext {
  access: Access;
  addresses: ClientAddresses;
  attempts: RefusedAttempts;
  audit: AuditLog;
  metrics: Metrics;
  registry: Registry;
}

interface MachineRoute {
  Params: { id: string; method: string };
  Querystring: { module?: string; times?: string };
  Body: Buffer | undefined;
}

/** The calls under /api for administrators and scripts, as docs/protocol.md has them. */
export function apiRoutes(context: ApiContext, live: LiveFeed) {
  const { metrics, registry } = context;

  return async (api: FastifyInstance): Promise<void> => {
    const { whoOf, note } = administratorsOnly(api, context);
    // Parameters are the module's own business: whatever the content type says, the text goes through as it is.
    api.removeAllContentTypeParsers();
    api.addContentTypeParser("*", { parseAs: "buffer" }, (_request, body, done) =>
      done(null, body),
    );

    api.get("/machines", async () => registry.machines.map((machine) => machine.state));

    api.get("/live", (_request, reply) => live.add(reply));

    api.post<MachineRoute>(
      "/machines/:id/rpc/:method",
      { config: { audit: onMachine("call") } },
      async (request) => {
        const machine = registry.get(request.params.id);
        const params = readUtf8(request.body);
        const { method } = request.params;
        const { module = "RemoteAccess" } = request.query;
        if (typeof module !== "string") throw badRequest("module is named more than once.");
        note(request, {}, { module: short(module) });
        metrics.count("remote_access_calls_total");
        const reply = await machine.call(module, method, params);
        note(request, { code: reply.result || reply.code });
        return reply;
      },
    );

    api.post<MachineRoute>(
      "/machines/:id/policy/:method",
      { bodyLimit: MAX_INTEGRATION_MESSAGE_BYTES, config: { audit: onMachine("policy") } },
      async (request, reply) => {
        const machine = registry.get(request.params.id);
        const input = readJson(request.body);
        const { method } = request.params;
        note(request, {}, namesOfInput(method, input));
        metrics.count("remote_access_policy_calls_total");
        const { status, output } = await machine.integration.call(method, input, whoOf(request));
        note(request, { code: status });
        return reply
          .type("application/json; charset=utf-8")
          .send(`{"status":${status},"output":${output}}`);
      },
    );

    api.get<MachineRoute>("/machines/:id/jobs", async (request, reply) => {
      const { jobs } = registry.get(request.params.id);
      if (!request.headers.accept?.includes("text/event-stream")) return jobs.jobs;
      return feedJobs(reply, jobs);
    });

    api.get<MachineRoute>("/machines/:id/events", (request, reply) => {
      const { events } = registry.get(request.params.id);
      let last = readLastEventId(request.headers["last-event-id"]) ?? events.lastId;
      const timed = request.query.times !== undefined;
      const sendOn = () => {
        for (const { id, at, name, payload } of stream.ready ? events.since(last) : []) {
          const time = timed ? `"at":${JSON.stringify(at)},` : "";
          stream.sendText(`{${time}"name":${JSON.stringify(name)},"payload":${payload}}`, id);
          last = id;
          if (!stream.ready) return;
        }
      };
      const stopFollowing = events.follow(sendOn);
      const stream = new EventStream(reply, { onReady: sendOn, onEnd: stopFollowing });
      sendOn();
    });
  };
}

/** What the audit log says of a request that is for a machine. */
export function onMachine(action: AuditAction) {
  return (request: FastifyRequest) => {
    const { id, method } = request.params as MachineRoute["Params"];
    return {
      action,
      machine: short(id),
      details: method === undefined ? {} : { method: short(method) },
    };
  };
}

function readUtf8(body: Buffer | undefined): string {
  try {
    return new TextDecoder("utf-8", { fatal: true, ignoreBOM: true }).decode(body ?? Buffer.of());
  } catch {
    throw badRequest("The body is not UTF-8.");
  }
}

/** The text of a body that is JSON, as it came; `{}` where there is none. */
function readJson(body: Buffer | undefined): string {
  const text = readUtf8(body) || "{}";
  // Some levels are left for what the machine wraps around a part of it, to be still understood when it comes back.
  if (depthOf(text) > MAX_DEPTH / 2) throw badRequest("The body nests too deeply.");
  let unreadable = false;
  const look = (key: string, value: unknown) => {
    unreadable ||= isUnreadable(key) || isUnreadable(value);
  };
  try {
    JSON.parse(text, MAY_BE_UNREADABLE.test(text) ? look : undefined);
  } catch {
    throw badRequest("The body is not JSON.");
  }
  if (unreadable) throw badRequest("The body has a number too large, or half a character.");
  return text;
}

/** Looking at every value takes long, and is hardly ever called for. */
const MAY_BE_UNREADABLE = /\\u[dD]|[eE]\+?\d{3}|\d{300}/;

/** JSON can say it, and the machine's reader takes it for no JSON. */
function isUnreadable(value: unknown): boolean {
  if (typeof value === "number") return !Number.isFinite(value);
  return typeof value === "string" && /\p{Surrogate}/u.test(value);
}

function readLastEventId(header: string | string[] | undefined): number | undefined {
  if (header === undefined) return undefined;
  const id = Number(header);
  if (!Number.isSafeInteger(id) || id < 0) throw badRequest("Last-Event-ID is no event's id.");
  return id;
}
