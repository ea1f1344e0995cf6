import type { IncomingMessage } from "node:http";
import { BlockList, isIP } from "node:net";

/** Where requests come from, also behind proxies that are trusted to say so. */
export class ClientAddresses {
  readonly #trusted = new BlockList();

  /** Takes addresses and networks, "10.0.0.0/8". Throws with a sentence for the person at the command line. */
  constructor(trustedProxies: string[]) {
    for (const given of trustedProxies) {
      const [, address = "", bits] = /^([^/]+)(?:\/(\d{1,3}))?$/.exec(given) ?? [];
      const version = isIP(address);
      const longest = version === 6 ? 128 : 32;
      if (version === 0 || Number(bits ?? 0) > longest) {
        throw new Error("--trusted-proxy is an address or a network, as 10.0.0.0/8.");
      }
      this.#trusted.addSubnet(address, Number(bits ?? longest), familyOf(address));
    }
  }

  /** The address of who sent the request: the last one on its way that is no trusted proxy. */
  of(request: IncomingMessage): string {
    let address = plain(request.socket.remoteAddress ?? "");
    const named = String(request.headers["x-forwarded-for"] ?? "").split(",");
    while (this.#isTrusted(address)) {
      const next = plain(named.pop()?.trim() ?? "");
      if (!isIP(next)) break;
      address = next;
    }
    return address;
  }

  /** Whether the browser came over TLS, as a trusted proxy says. */
  isSecure(request: IncomingMessage): boolean {
    const proxy = plain(request.socket.remoteAddress ?? "");
    return this.#isTrusted(proxy) && request.headers["x-forwarded-proto"] === "https";
  }

  #isTrusted(address: string): boolean {
    return isIP(address) !== 0 && this.#trusted.check(address, familyOf(address));
  }
}

function familyOf(address: string): "ipv4" | "ipv6" {
  return isIP(address) === 6 ? "ipv6" : "ipv4";
}

/** An IPv4 address as itself, where it comes as one of IPv6's. */
function plain(address: string): string {
  return address.replace(/^::ffff:(?=\d+\.)/i, "");
}
