import type { FastifyInstance, FastifyRequest } from "fastify";
import { type Access, checkOrigin, type Identity } from "../access/access.ts";

/** Lets only administrators through to these routes. The result says who makes a request, as the audit log names it. */
export function administratorsOnly(
  routes: FastifyInstance,
  access: Access,
): (request: FastifyRequest) => string {
  const identities = new WeakMap<FastifyRequest, Identity>();
  routes.addHook("onRequest", async (request) => {
    const identity = access.identify(request.headers);
    const changes = request.method !== "GET" && request.method !== "HEAD";
    if (identity.session && changes) checkOrigin(request.headers, true);
    identities.set(request, identity);
  });
  return (request) => identities.get(request)?.who ?? "token";
}
