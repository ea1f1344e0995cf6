import { readFileSync } from "node:fs";
import { join } from "node:path";
import fastifyStatic from "@fastify/static";
import type { FastifyInstance, FastifyReply, FastifyRequest } from "fastify";
import { checkOrigin } from "../access/access.ts";
import { ApiError } from "../errors.ts";
import type { ApiContext } from "./api_routes.ts";
import { pathOf } from "./upgrades.ts";

/** The page, and the way in: sign-in by an address that carries the token or by a form, sign-out. */
export function pageRoutes(
  { access, addresses, attempts, audit, metrics }: ApiContext,
  webDir: string,
) {
  const signInPage = readFileSync(join(webDir, "sign-in.html"), "utf8");
  const sendHtml = (reply: FastifyReply, html: string) =>
    reply.type("text/html; charset=utf-8").header("cache-control", "no-store").send(html);

  /** Answers an attempt to sign in. The token is in the address, the form, or wrong; it goes no further than this. */
  const signIn = ({ raw }: FastifyRequest, reply: FastifyReply, token: string) => {
    const from = addresses.of(raw);
    if (!access.isToken(token)) {
      metrics.count("remote_access_sign_ins_refused_total");
      attempts.signInRefused(from);
      const refused = signInPage.replace('data-state="asking"', 'data-state="refused"');
      return sendHtml(reply.code(401), refused);
    }
    const { who, cookie } = access.signIn({ secure: addresses.isSecure(raw) });
    audit.record({ who, from, action: "signIn", result: { ok: true, http: 303 } });
    return reply
      .header("set-cookie", cookie)
      .header("cache-control", "no-store")
      .redirect("/", 303);
  };

  /** A refusal by `check` is written down. */
  const refusing = <T>({ raw, method }: FastifyRequest, check: () => T): T => {
    try {
      return check();
    } catch (error) {
      if (error instanceof ApiError) {
        attempts.refused(addresses.of(raw), error, `${method} ${pathOf(raw)}`);
      }
      throw error;
    }
  };

  return async (page: FastifyInstance): Promise<void> => {
    page.removeAllContentTypeParsers();
    page.addContentTypeParser(
      "application/x-www-form-urlencoded",
      { parseAs: "string", bodyLimit: 4096 },
      (_request, body, done) => done(null, new URLSearchParams(String(body))),
    );
    await page.register(fastifyStatic, {
      root: webDir,
      index: false,
      // Names of assets carry a hash of their content.
      setHeaders: (response, path) => {
        const asset = path.startsWith(join(webDir, "assets"));
        response.setHeader(
          "cache-control",
          asset ? "public, max-age=31536000, immutable" : "no-cache",
        );
      },
    });

    page.get<{ Querystring: { token?: string | string[] } }>("/", async (request, reply) => {
      const { token } = request.query;
      if (token !== undefined) return signIn(request, reply, String(token));
      try {
        access.identify(request.headers);
      } catch (error) {
        if (error instanceof ApiError) return sendHtml(reply, signInPage);
        throw error;
      }
      return reply.header("cache-control", "no-store").sendFile("index.html");
    });

    page.post<{ Body: URLSearchParams | undefined }>("/sign-in", async (request, reply) => {
      refusing(request, () => checkOrigin(request.headers, false));
      return signIn(request, reply, request.body?.get("token")?.trim() ?? "");
    });

    page.post("/sign-out", async (request, reply) => {
      const { who, session } = refusing(request, () => {
        const identity = access.identify(request.headers);
        checkOrigin(request.headers, true);
        return identity;
      });
      if (session) reply.header("set-cookie", access.signOut(session));
      const from = addresses.of(request.raw);
      audit.record({ who, from, action: "signOut", result: { ok: true, http: 303 } });
      return reply.redirect("/", 303);
    });
  };
}
