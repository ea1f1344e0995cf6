import { createHash, timingSafeEqual } from "node:crypto";

/** Compares in a time that tells nothing of either text, not even its length. */
export function equalSecrets(given: string, expected: string): boolean {
  const digest = (text: string) => createHash("sha256").update(text).digest();
  return timingSafeEqual(digest(given), digest(expected));
}

/** The token of an `Authorization: Bearer` header, undefined when there is none. */
export function bearerOf(header: string | undefined): string | undefined {
  return /^Bearer +(\S+) *$/i.exec(header ?? "")?.[1];
}
