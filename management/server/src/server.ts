import { mkdirSync } from "node:fs";
import type { AddressInfo } from "node:net";
import { join, resolve } from "node:path";
import Fastify, {
  type FastifyBaseLogger,
  type FastifyError,
  type FastifyReply,
  LogController,
} from "fastify";
import { Access } from "./access/access.ts";
import { Admission } from "./agent/admission.ts";
import { agentDoor } from "./agent/agent_door.ts";
import { AuditLog } from "./audit/audit_log.ts";
import { RefusedAttempts } from "./audit/refused_attempts.ts";
import { ApiError, badRequest, CloseCode, notFound, tooLarge } from "./errors.ts";
import { type ApiContext, apiRoutes } from "./http/api_routes.ts";
import { ClientAddresses } from "./http/client_addresses.ts";
import { limitIdlenessOfBody } from "./http/idleness.ts";
import { LiveFeed } from "./http/live_feed.ts";
import { Metrics } from "./http/metrics.ts";
import { pageRoutes } from "./http/page_routes.ts";
import { sendPlainJson } from "./http/plain_json.ts";
import { recordRoutes } from "./http/record_routes.ts";
import { pathOf, Upgrades } from "./http/upgrades.ts";
import { integrationDoor } from "./integration/integration_door.ts";
import { defaultLimits, type Limits, MAX_MESSAGE_BYTES } from "./limits.ts";
import { Registry } from "./machines/registry.ts";
import type { Options } from "./options.ts";
import { LogFile } from "./persistence/log_file.ts";
import { agentStorageRoutes } from "./storage/agent_storage_routes.ts";
import { Storage } from "./storage/storage.ts";
import { storageRoutes } from "./storage/storage_routes.ts";
import { terminalDoor } from "./terminal/terminal_door.ts";

export interface RunningServer {
  /** Address of the page. */
  url: string;
  /** Ends every session and connection, and writes down what is to be kept. */
  stop(): Promise<void>;
}

const securityHeaders = {
  // The terminal sets styles of its own at run time; scripts come from this server alone.
  "content-security-policy":
    "default-src 'none'; script-src 'self'; style-src 'self' 'unsafe-inline'; img-src 'self' data:; " +
    "connect-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'",
  "cross-origin-opener-policy": "same-origin",
  "cross-origin-resource-policy": "same-origin",
  "referrer-policy": "same-origin",
  "x-content-type-options": "nosniff",
  "x-frame-options": "DENY",
};

/** Puts the server together and starts it. Log lines go to `logTo`, else to where the options say. */
export async function startServer(
  options: Options,
  { limits = defaultLimits, logTo }: { limits?: Limits; logTo?: NodeJS.WritableStream } = {},
): Promise<RunningServer> {
  for (const name of ["events", "jobs"]) {
    mkdirSync(join(options.dataDir, name), { recursive: true, mode: 0o700 });
  }
  const logFile = options.logFile === undefined ? undefined : await LogFile.open(options.logFile);
  const app = Fastify({
    logger: { level: "info", stream: logTo ?? logFile ?? process.stderr },
    // One line of our own per request, without its query, stands for the two that there would be.
    logController: new LogController({ disableRequestLogging: true }),
    forceCloseConnections: true,
    bodyLimit: MAX_MESSAGE_BYTES,
    routerOptions: { maxParamLength: 256 },
    // An address that cannot be read gets to no route, nor to the handler of errors below.
    frameworkErrors: (error, _request, reply) => refuse(error, reply),
  });
  const { log } = app;
  const onWriteError = (error: unknown) => log.error({ err: error }, "could not be written");

  const registry = new Registry(options.dataDir, limits, log);
  const access = new Access(options.token, join(options.dataDir, "sessions.json"), onWriteError);
  const metrics = new Metrics();
  const audit = await AuditLog.open({
    path: join(options.dataDir, "audit.log"),
    ...options.audit,
    underWayMs: limits.underWayMs,
    onError(error) {
      metrics.count("remote_access_audit_errors_total");
      log.error({ err: error }, "the audit log has a problem");
    },
  });
  const attempts = new RefusedAttempts(audit);
  const addresses = new ClientAddresses(options.trustedProxies);
  const storage = new Storage(join(options.dataDir, "storage"), options.profiles);
  const context: ApiContext = { access, addresses, attempts, audit, metrics, registry };
  const admission = new Admission(options.enrolmentKey, registry, metrics, log);
  const upgrades = new Upgrades(
    [
      agentDoor(admission, registry, limits),
      integrationDoor(admission, registry, limits),
      terminalDoor(context, log),
    ],
    addresses,
    log,
  );

  app.decorateReply("refusal", undefined);
  app.addHook("onRequest", async (request, reply) => {
    reply.headers(securityHeaders);
    limitIdlenessOfBody(request, reply, limits.transferIdleMs);
  });
  app.addHook("onResponse", async (request, reply) => {
    const { method } = request;
    const ms = Math.round(reply.elapsedTime);
    log.info({ method, path: pathOf(request.raw), status: reply.statusCode, ms }, "request");
  });
  app.setNotFoundHandler(() => {
    throw notFound("route");
  });
  app.setErrorHandler((error, _request, reply) => refuse(error as FastifyError, reply));
  app.get("/healthz", async () => ({ status: "ok" }));
  app.get("/metrics", async (_request, reply) =>
    reply.type("text/plain; version=0.0.4; charset=utf-8").send(metrics.render(registry)),
  );
  await app.register(apiRoutes(context, new LiveFeed(registry)), { prefix: "/api" });
  await app.register(recordRoutes(context), { prefix: "/api" });
  await app.register(storageRoutes(context, storage, limits), { prefix: "/api" });
  await app.register(agentStorageRoutes({ admission, registry, storage, metrics, limits }), {
    prefix: "/api",
  });
  await app.register(pageRoutes(context, resolve(options.webDir)));
  app.server.on("upgrade", (request, socket, head) => upgrades.handle(request, socket, head));

  await app.listen({
    host: options.host,
    port: options.port,
    listenTextResolver: () => "listening",
  });
  audit.started();
  const { address, port } = app.server.address() as AddressInfo;

  return {
    url: `http://${address.includes(":") ? `[${address}]` : address}:${port}`,
    async stop() {
      await stopSessions(registry, limits.shutdownMs);
      for (const machine of registry.machines) machine.detach(CloseCode.goingAway, "server stops");
      await Promise.all([app.close(), upgrades.drain(limits.shutdownMs)]);
      attempts.close();
      await Promise.all([registry.flush(), access.flush(), audit.close()]);
      await logFile?.close();
    },
  };
}

/** Asks every session's machine for its end and waits until all have ended, or the time is over. */
async function stopSessions(registry: Registry, timeMs: number): Promise<void> {
  const sessions = registry.machines.flatMap((machine) => machine.sessions);
  for (const session of sessions) {
    session.stop();
    session.end("serverStopping", CloseCode.goingAway);
  }
  await new Promise<void>((resolve) => {
    const done = () => {
      if (registry.machines.some((machine) => machine.sessions.length > 0)) return;
      clearTimeout(timer);
      stopFollowing();
      resolve();
    };
    const stopFollowing = registry.follow(done);
    const timer = setTimeout(() => {
      stopFollowing();
      resolve();
    }, timeMs);
    done();
  });
}

function refuse(error: FastifyError, reply: FastifyReply): FastifyReply {
  const { status, body } = toApiError(error, reply.log);
  reply.refusal = body;
  return sendPlainJson(reply.code(status), body);
}

function toApiError(error: FastifyError, log: FastifyBaseLogger): ApiError {
  if (error instanceof ApiError) return error;
  const status = error.statusCode ?? 500;
  if (status === 413) return tooLarge();
  if (status === 404) return notFound("route");
  if (status < 500) return badRequest("The request is malformed.");
  log.error({ err: error }, "request failed");
  return new ApiError(500, "internal", "Something went wrong.");
}
