import type { IncomingHttpHeaders } from "node:http";
import type { FastifyBaseLogger } from "fastify";
import { bearerOf, equalSecrets } from "../access/secrets.ts";
import { badRequest, unauthorized } from "../errors.ts";
import type { Metrics } from "../http/metrics.ts";
import { printable } from "../machines/refusals.ts";
import type { Registry } from "../machines/registry.ts";

const MAX_NAME_BYTES = 255;

/** Who may come in at the agents' doors: whoever has the enrolment key and says which machine it is. */
export class Admission {
  readonly #enrolmentKey: string;
  readonly #registry: Registry;
  readonly #metrics: Metrics;
  readonly #log: FastifyBaseLogger;

  constructor(enrolmentKey: string, registry: Registry, metrics: Metrics, log: FastifyBaseLogger) {
    this.#enrolmentKey = enrolmentKey;
    this.#registry = registry;
    this.#metrics = metrics;
    this.#log = log;
  }

  /** For a connection. Throws ApiError unauthorized, which is remembered, and bad_request. */
  admit(headers: IncomingHttpHeaders): { id: string; name: string; log: FastifyBaseLogger } {
    const name = decodeName(headerOf(headers, "x-machine-name"));
    const id = this.identify(headers, name);
    if (!name) throw badRequest("X-Machine-Name is malformed.");
    return { id, name: printable(name, MAX_NAME_BYTES), log: this.#log.child({ machine: id }) };
  }

  /** The machine's id, for a request. Throws as `admit` does. */
  identify(headers: IncomingHttpHeaders, name = ""): string {
    const id = headerOf(headers, "x-machine-id");
    if (!equalSecrets(bearerOf(headers.authorization) ?? "", this.#enrolmentKey)) {
      this.#metrics.count("remote_access_agents_refused_total");
      this.#registry.refuse(id, name);
      this.#log.warn({ claimedMachine: printable(id, 64) }, "agent refused: wrong enrolment key");
      throw unauthorized();
    }
    if (!/^[0-9A-Za-z-]{8,64}$/.test(id)) throw badRequest("X-Machine-Id is malformed.");
    return id;
  }
}

function headerOf(headers: IncomingHttpHeaders, name: string): string {
  return String(headers[name] ?? "");
}

/** Undefined unless it is percent-encoded UTF-8 of at most 255 bytes. */
function decodeName(encoded: string): string | undefined {
  try {
    const name = decodeURIComponent(encoded);
    return Buffer.byteLength(name) <= MAX_NAME_BYTES ? name : undefined;
  } catch {
    return undefined;
  }
}
