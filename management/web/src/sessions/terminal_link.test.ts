import { expect, test } from "vitest";
import { toBase64 } from "./base64";
import { type SessionEnd, TerminalLink } from "./terminal_link";

/** A WebSocket whose other end is the test. */
class FakeSocket extends EventTarget {
  readonly OPEN = 1;
  readyState = 1;
  // biome-ignore lint/suspicious/noExplicitAny: messages of any shape.
  readonly sent: any[] = [];

  send(text: string): void {
    this.sent.push(JSON.parse(text));
  }

  close(): void {
    this.end(1005, "");
  }

  receive(type: string, content: unknown): void {
    this.dispatchEvent(new MessageEvent("message", { data: JSON.stringify({ type, content }) }));
  }

  end(code: number, reason: string): void {
    this.readyState = 3;
    this.dispatchEvent(Object.assign(new Event("close"), { code, reason }));
  }
}

function makeLink() {
  const socket = new FakeSocket();
  const seen = { opened: [] as string[], ends: [] as SessionEnd[] };
  const output: Array<{ bytes: Uint8Array; consumed: () => void }> = [];
  const link = new TerminalLink(socket as unknown as WebSocket, {
    onOpened: (streamId) => seen.opened.push(streamId),
    onOutput: (bytes, consumed) => output.push({ bytes, consumed }),
    onEnd: (end) => seen.ends.push(end),
  });
  return { socket, link, output, ...seen };
}

const open = { streamId: "s", code: 0 };

test("output is acknowledged once it is on the screen, to the last character, in few messages", () => {
  const { socket, output } = makeLink();
  socket.receive("opened", open);
  const sent = Uint8Array.from({ length: 3000 }, (_, index) => index % 256);
  const encoded = toBase64(sent);
  for (let i = 0; i < 50; i++) socket.receive("data", { encodedBuffer: encoded });
  expect(socket.sent).toEqual([]);
  for (const { bytes, consumed } of output) {
    expect(bytes).toEqual(sent);
    consumed();
  }
  const total = socket.sent.reduce((sum, message) => sum + message.bytes, 0);
  expect(total).toBe(50 * encoded.length);
  expect(socket.sent.length).toBeLessThan(10);
  socket.receive("data", { encodedBuffer: "" });
  output.at(-1)?.consumed();
  expect(socket.sent.every((message) => message.bytes > 0)).toBe(true);
});

test("a large paste goes in pieces that the server takes, and nothing goes after the end", () => {
  const { socket, link } = makeLink();
  const bytes = Uint8Array.from({ length: 200_001 }, (_, index) => index % 251);
  link.input(bytes);
  const pieces = socket.sent.map(({ data }) => Buffer.from(data.encodedBuffer, "base64"));
  expect(Buffer.concat(pieces).equals(bytes)).toBe(true);
  expect(Math.max(...pieces.map((piece) => piece.length))).toBeLessThan(512 * 1024);
  socket.end(1000, "closed");
  link.resize(1, 1);
  link.stop();
  expect(socket.sent).toHaveLength(pieces.length);
});

test("each end is told by the server's word, or by what can be known without it", () => {
  const cases: Array<[unknown, number, string, SessionEnd]> = [
    [open, 1000, "shellExited", { reason: "shellExited" }],
    [{ streamId: "s", code: 21 }, 1000, "openFailed", { reason: "openFailed", code: 21 }],
    [open, 1000, "hostLost", { reason: "hostLost" }],
    [open, 1006, "", { reason: "serverLost" }],
    [undefined, 1006, "", { reason: "notOpened" }],
    [open, 1008, "not allowed", { reason: "refused", detail: "not allowed" }],
    [open, 1005, "", { reason: "closed" }],
  ];
  for (const [opened, code, reason, expected] of cases) {
    const { socket, ends, opened: streams } = makeLink();
    if (opened) socket.receive("opened", opened);
    socket.end(code, reason);
    expect(ends).toEqual([expected]);
    expect(streams).toEqual(opened === open ? ["s"] : []);
  }
});
