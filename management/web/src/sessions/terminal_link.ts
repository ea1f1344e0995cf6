import { fromBase64, toBase64 } from "./base64";

/** How a session ended: the server's word, or one of the page's own for what the server could not say. */
export interface SessionEnd {
  reason:
    | "closed"
    | "shellExited"
    | "inactivity"
    | "machineLost"
    | "hostLost"
    | "streamLost"
    | "openFailed"
    | "serverStopping"
    | "serverLost"
    | "notOpened"
    | "refused";
  /** What the machine answered when opening failed. */
  code?: number;
  /** The server's sentence for "refused". */
  detail?: string;
}

export interface LinkListener {
  onOpened(streamId: string): void;
  /** `consumed` is to be called once the bytes are on the screen. */
  onOutput(bytes: Uint8Array, consumed: () => void): void;
  /** Comes once and last. */
  onEnd(end: SessionEnd): void;
}

const serverReasons = new Set<string>([
  "closed",
  "shellExited",
  "inactivity",
  "machineLost",
  "hostLost",
  "streamLost",
  "openFailed",
  "serverStopping",
]);

// A large paste goes in pieces that the server takes; acknowledgements are gathered, so that a flood of output does not
// cost a message back for each of its own.
const INPUT_PIECE = 32 * 1024;
const ACK_PORTION = 32 * 1024;

/** One terminal's WebSocket, as the server speaks it, with acknowledged output. */
export class TerminalLink {
  readonly #socket: WebSocket;
  readonly #listener: LinkListener;
  #opened = false;
  #code: number | undefined;
  #received = 0;
  #consumed = 0;
  #acknowledged = 0;

  constructor(socket: WebSocket, listener: LinkListener) {
    this.#socket = socket;
    this.#listener = listener;
    socket.addEventListener("message", (event) => this.#receive(JSON.parse(event.data)));
    socket.addEventListener("close", (event) => listener.onEnd(this.#endOf(event)));
  }

  input(bytes: Uint8Array): void {
    for (let at = 0; at < bytes.length; at += INPUT_PIECE) {
      const encodedBuffer = toBase64(bytes.subarray(at, at + INPUT_PIECE));
      this.#send({ type: "data", data: { encodedBuffer } });
    }
  }

  resize(cols: number, rows: number): void {
    this.#send({ type: "resize", resize: { cols, rows } });
  }

  /** Asks the machine to end the session. */
  stop(): void {
    this.#send({ type: "streamStop" });
  }

  /** Gives the session up; the server ends it. */
  leave(): void {
    this.#socket.close();
  }

  #receive({ type, content }: { type: string; content: Record<string, unknown> }): void {
    if (type === "data") {
      const encoded = String(content.encodedBuffer);
      this.#received += encoded.length;
      this.#listener.onOutput(fromBase64(encoded), () => this.#consume(encoded.length));
    } else if (type === "opened") {
      this.#opened = content.code === 0;
      this.#code = Number(content.code);
      if (this.#opened) this.#listener.onOpened(String(content.streamId));
    }
  }

  #consume(chars: number): void {
    this.#consumed += chars;
    const due = this.#consumed - this.#acknowledged;
    if (due < ACK_PORTION && this.#consumed < this.#received) return;
    if (due === 0) return;
    this.#acknowledged = this.#consumed;
    this.#send({ type: "ack", bytes: due });
  }

  #send(message: object): void {
    if (this.#socket.readyState === this.#socket.OPEN) this.#socket.send(JSON.stringify(message));
  }

  #endOf({ code, reason }: CloseEvent): SessionEnd {
    if (serverReasons.has(reason)) {
      const end: SessionEnd = { reason: reason as SessionEnd["reason"] };
      if (reason === "openFailed" && this.#code !== undefined) end.code = this.#code;
      return end;
    }
    if (code === 1000 || code === 1005) return { reason: "closed" };
    if (code !== 1006) return { reason: "refused", detail: reason || `code ${code}` };
    return { reason: this.#opened ? "serverLost" : "notOpened" };
  }
}
