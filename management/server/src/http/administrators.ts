import type { FastifyInstance, FastifyReply, FastifyRequest } from "fastify";
import { checkOrigin, type Identity } from "../access/access.ts";
import type { AuditDetails, AuditedAction, AuditResult } from "../audit/audit_entry.ts";
import type { BegunAction } from "../audit/audit_log.ts";
import { short } from "../audit/names_of_input.ts";
import { ApiError } from "../errors.ts";
import type { ApiContext } from "./api_routes.ts";
import { pathOf } from "./upgrades.ts";

declare module "fastify" {
  interface FastifyContextConfig {
    /** For what goes into the audit log, with its end: which action the request is. */
    audit?: (request: FastifyRequest) => Pick<AuditedAction, "action" | "machine" | "details">;
  }
  interface FastifyReply {
    /** The refusal that was sent. */
    refusal: { error: string; code?: number } | undefined;
  }
}

/** A request of an administrator. */
interface Visit {
  identity: Identity;
  action?: BegunAction;
  answered: boolean;
  closed: boolean;
  result: Partial<AuditResult>;
  details: AuditDetails;
}

export interface Administrators {
  /** Who makes a request, as the audit log names it. */
  whoOf(request: FastifyRequest): string;
  /** Adds to what the audit log will say of a request beyond its HTTP status. */
  note(request: FastifyRequest, result: Partial<AuditResult>, details?: AuditDetails): void;
}

/**
 * Lets only administrators through to these routes. What the routes' `config.audit` names goes into the audit log once it has been
 * answered and its connection is done with it, whatever came of it.
 */
export function administratorsOnly(routes: FastifyInstance, context: ApiContext): Administrators {
  const { access, attempts, audit, addresses } = context;
  const visits = new WeakMap<FastifyRequest, Visit>();

  const identify = (request: FastifyRequest): Identity => {
    try {
      const identity = access.identify(request.headers);
      const changes = request.method !== "GET" && request.method !== "HEAD";
      if (identity.session && changes) checkOrigin(request.headers, true);
      return identity;
    } catch (error) {
      if (error instanceof ApiError) {
        const { id } = request.params as { id?: string };
        const machine = context.registry.find(id ?? "")?.id;
        const tried = short(`${request.method} ${pathOf(request.raw)}`);
        attempts.refused(addresses.of(request.raw), error, tried, machine);
      }
      throw error;
    }
  };

  const end = (request: FastifyRequest, reply: FastifyReply, visit: Visit) => {
    if (!visit.answered || !visit.closed) return;
    const http = reply.statusCode;
    const whole = reply.raw.writableFinished || http >= 400;
    const cut = request.method === "GET" && !whole && visit.result.code === undefined;
    const { error = cut ? "cut_off" : undefined, code } = reply.refusal ?? {};
    visit.action?.end(
      {
        ok: http < 400 && !error && !visit.result.code,
        http,
        ...(error && { error }),
        ...(code !== undefined && { code }),
        ...visit.result,
      },
      visit.details,
    );
  };

  routes.addHook("onRequest", async (request, reply) => {
    const identity = identify(request);
    const visit: Visit = { identity, answered: false, closed: false, result: {}, details: {} };
    visits.set(request, visit);
    const { audit: what } = request.routeOptions.config;
    if (!what) return;
    const from = addresses.of(request.raw);
    visit.action = audit.begin({ who: identity.who, from, ...what(request) });
    reply.raw.once("close", () => {
      visit.closed = true;
      end(request, reply, visit);
    });
  });
  routes.addHook("onSend", async (request, reply) => {
    const visit = visits.get(request);
    if (!visit?.action) return;
    visit.answered = true;
    end(request, reply, visit);
  });

  return {
    whoOf: (request) => visits.get(request)?.identity.who ?? "token",
    note(request, result, details = {}) {
      const visit = visits.get(request);
      if (!visit) return;
      Object.assign(visit.result, result);
      Object.assign(visit.details, details);
    },
  };
}
