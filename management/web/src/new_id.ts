/** An identifier that nobody else has. The browser's own `randomUUID` is there only over a secure connection. */
export function newId(): string {
  const bytes = crypto.getRandomValues(new Uint8Array(16));
  return Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join("");
}
