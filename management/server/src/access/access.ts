import { createHmac, randomBytes } from "node:crypto";
import type { IncomingHttpHeaders } from "node:http";
import { z } from "zod";
import { forbiddenOrigin, unauthorized } from "../errors.ts";
import { JsonFile } from "../persistence/json_file.ts";
import { bearerOf, equalSecrets } from "./secrets.ts";

/** Who makes a request, as the audit log names it. */
export interface Identity {
  who: string;
  /** The session's key, when the request came with the page's cookie. */
  session?: string;
}

const COOKIE = "remote_access_session";
const SESSION_HOURS = 24;
const MAX_SESSIONS = 1000;
const kept = z.record(z.string(), z.number());

/**
 * Who may come in: whoever has the token, and pages signed in with it. A session's id is known to its browser only; here
 * it is kept as a hash under the token, so that neither the file nor a change of the token lets anybody in.
 */
export class Access {
  readonly #token: string;
  readonly #file: JsonFile<Record<string, number>>;
  /** Key to the time of its end. */
  readonly #sessions: Map<string, number>;

  /** Throws when the file with the sessions is damaged. */
  constructor(token: string, sessionsPath: string, onError: (error: unknown) => void) {
    this.#token = token;
    this.#file = new JsonFile(sessionsPath, kept, onError);
    this.#sessions = new Map(Object.entries(this.#file.read() ?? {}));
  }

  /** Throws ApiError unauthorized. A bearer token, where there is one, decides alone. */
  identify(headers: IncomingHttpHeaders): Identity {
    if (headers.authorization !== undefined) {
      if (this.isToken(bearerOf(headers.authorization) ?? "")) return { who: "token" };
      throw unauthorized();
    }
    const key = this.#keyOfCookie(headers.cookie);
    const end = key && this.#sessions.get(key);
    if (!key || !end || end < Date.now()) throw unauthorized();
    return { who: nameOf(key), session: key };
  }

  isToken(given: string): boolean {
    return equalSecrets(given, this.#token);
  }

  /** Begins a session; `cookie` is the header that gives it to the browser, `secure` keeps it to TLS. */
  signIn({ secure = false } = {}): Identity & { cookie: string } {
    const id = randomBytes(32).toString("base64url");
    const key = this.#keyOf(id);
    for (const [old, end] of this.#sessions) {
      if (end < Date.now() || this.#sessions.size >= MAX_SESSIONS) this.#sessions.delete(old);
    }
    this.#sessions.set(key, Date.now() + SESSION_HOURS * 3_600_000);
    this.#save();
    const kept = `Max-Age=${SESSION_HOURS * 3600}${secure ? "; Secure" : ""}`;
    const cookie = `${COOKIE}=${id}; Path=/; HttpOnly; SameSite=Strict; ${kept}`;
    return { who: nameOf(key), session: key, cookie };
  }

  /** Ends a session; the result is the header that takes the cookie away. */
  signOut(session: string): string {
    this.#sessions.delete(session);
    this.#save();
    return `${COOKIE}=; Path=/; HttpOnly; SameSite=Strict; Max-Age=0`;
  }

  flush(): Promise<void> {
    return this.#file.flush();
  }

  #save(): void {
    this.#file.write(() => Object.fromEntries(this.#sessions));
  }

  #keyOfCookie(header: string | undefined): string | undefined {
    const id = new RegExp(`(?:^|;\\s*)${COOKIE}=([\\w-]+)`).exec(header ?? "")?.[1];
    return id && this.#keyOf(id);
  }

  #keyOf(id: string): string {
    return createHmac("sha256", this.#token).update(id).digest("hex");
  }
}

function nameOf(key: string): string {
  return `session ${key.slice(0, 8)}`;
}

/**
 * Throws ApiError forbidden_origin when a browser sends the request on behalf of another site's page. A browser always names
 * the origin where it matters; `required` is for what no other program has a reason to send without.
 */
export function checkOrigin(headers: IncomingHttpHeaders, required: boolean): void {
  const { origin, host } = headers;
  if (origin === undefined && !required) return;
  if (!origin || !URL.canParse(origin)) throw forbiddenOrigin();
  if (new URL(origin).host !== host?.toLowerCase()) throw forbiddenOrigin();
}
