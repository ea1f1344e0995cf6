import { type IncomingMessage, STATUS_CODES } from "node:http";
import type { Duplex } from "node:stream";
import type { FastifyBaseLogger } from "fastify";
import { type WebSocket, WebSocketServer } from "ws";
import { checkOrigin } from "../access/access.ts";
import { ApiError, badRequest, notFound } from "../errors.ts";
import { MAX_MESSAGE_BYTES } from "../limits.ts";
import type { ClientAddresses } from "./client_addresses.ts";

export interface UpgradeRequest {
  headers: IncomingMessage["headers"];
  /** The address of who sent it. */
  from: string;
  url: URL;
  /** What the route's pattern captured. */
  match: RegExpExecArray;
}

/**
 * One kind of WebSocket. `admit` refuses by throwing an ApiError, which the peer gets as an HTTP response instead of the upgrade,
 * and otherwise gives what is to be done with the open socket.
 */
export interface UpgradeRoute {
  path: RegExp;
  /** The longest message that is taken; by default 1 MiB. */
  maxBytes?: number;
  admit(request: UpgradeRequest): (socket: WebSocket) => void;
  /** It was refused, by `admit` or before it. */
  onRefused?(request: UpgradeRequest, refusal: ApiError): void;
}

/** Decides, before a WebSocket comes about, whether it may. */
export class Upgrades {
  readonly #routes: UpgradeRoute[];
  readonly #addresses: ClientAddresses;
  readonly #log: FastifyBaseLogger;
  /** One for each length of messages. */
  readonly #servers = new Map<number, WebSocketServer>();

  constructor(routes: UpgradeRoute[], addresses: ClientAddresses, log: FastifyBaseLogger) {
    this.#routes = routes;
    this.#addresses = addresses;
    this.#log = log;
  }

  handle(request: IncomingMessage, socket: Duplex, head: Buffer): void {
    socket.on("error", () => socket.destroy());
    let admitted: { maxBytes: number; opened(socket: WebSocket): void };
    try {
      admitted = this.#admit(request);
    } catch (error) {
      if (!(error instanceof ApiError)) this.#log.error({ err: error }, "upgrade failed");
      const refusal =
        error instanceof ApiError ? error : new ApiError(500, "internal", "Something went wrong.");
      this.#log.info({ path: pathOf(request), refusal: refusal.word }, "upgrade refused");
      return refuse(socket, refusal);
    }
    const { maxBytes: maxPayload, opened } = admitted;
    const server =
      this.#servers.get(maxPayload) ?? new WebSocketServer({ noServer: true, maxPayload });
    this.#servers.set(maxPayload, server);
    server.handleUpgrade(request, socket, head, opened);
  }

  /** Waits for the close of every socket, and cuts off those that take longer than the time given. */
  async drain(graceMs: number): Promise<void> {
    const clients = [...this.#servers.values()].flatMap((server) => [...server.clients]);
    const closed = clients.map((client) => new Promise((resolve) => client.once("close", resolve)));
    const timer = setTimeout(() => {
      for (const client of clients) client.terminate();
    }, graceMs);
    await Promise.all(closed);
    clearTimeout(timer);
  }

  #admit(request: IncomingMessage): { maxBytes: number; opened(socket: WebSocket): void } {
    if (!URL.canParse(request.url ?? "", "http://localhost")) throw badRequest("No valid address.");
    const url = new URL(request.url ?? "", "http://localhost");
    for (const route of this.#routes) {
      const match = route.path.exec(url.pathname);
      if (!match) continue;
      const { headers } = request;
      const asked = { headers, from: this.#addresses.of(request), url, match };
      try {
        checkOrigin(headers, false);
        return { maxBytes: route.maxBytes ?? MAX_MESSAGE_BYTES, opened: route.admit(asked) };
      } catch (error) {
        if (error instanceof ApiError) route.onRefused?.(asked, error);
        throw error;
      }
    }
    throw notFound("route");
  }
}

/** The path alone: a query may hold a token. */
export function pathOf(request: { url?: string | undefined }): string {
  return request.url?.split("?", 1)[0] ?? "";
}

function refuse(socket: Duplex, refusal: ApiError): void {
  const body = JSON.stringify(refusal.body);
  // A peer that does not close its side would keep the socket for ever.
  socket.once("finish", () => socket.destroy());
  socket.end(
    `HTTP/1.1 ${refusal.status} ${STATUS_CODES[refusal.status]}\r\n` +
      "Content-Type: application/json\r\nConnection: close\r\n" +
      `Content-Length: ${Buffer.byteLength(body)}\r\n\r\n${body}`,
  );
}
