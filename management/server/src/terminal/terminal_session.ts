import type WebSocket from "ws";
import type { RawData } from "ws";
import type { AgentConnection } from "../agent/agent_connection.ts";
import type { CallReply, StreamClosed, StreamMessage } from "../agent/agent_messages.ts";
import { ApiError, CloseCode, ProtocolError } from "../errors.ts";
import { type Limits, MAX_MESSAGE_BYTES } from "../limits.ts";
import { parseJson, readMessage, readText } from "../messages.ts";
import { type ClientMessage, clientMessage } from "./client_messages.ts";
import { StreamWindow } from "./stream_window.ts";

/** Why a session ended: the one word in the close of its WebSocket. */
export type EndReason =
  | "closed"
  | "shellExited"
  | "inactivity"
  | "machineLost"
  | "hostLost"
  | "streamLost"
  | "openFailed"
  | "serverStopping";

export interface TerminalOptions {
  streamId: string;
  cols: number;
  rows: number;
  /** Seconds; undefined leaves the machine's own limit. */
  inactivityTimeout: number | undefined;
  acknowledged: boolean;
}

/** What a session needs of the machine that it belongs to. */
export interface SessionHost {
  readonly agent: AgentConnection;
  readonly limits: Limits;
  /** Runs the opening call when its turn has come. */
  runCall(job: () => Promise<CallReply>): Promise<CallReply>;
  /** The session has been told to its client as ended; comes once. */
  onEnded(session: TerminalSession, reason: EndReason): void;
  /** The stream is gone at the machine too; comes once and last. */
  onRemoved(session: TerminalSession): void;
}

const STREAM_STOP = JSON.stringify({ type: "streamStop" });
const MACHINE_INACTIVITY_SECONDS = 300;
// The machine's clock of inactivity starts with its console, a moment before its answer is here.
const INACTIVITY_SLACK_MS = 250;
// "resize" and "streamStop" pass without credit, so they are small, and a reader that lets even those pile up is as good as gone.
const MAX_FREE_BYTES = 1024;
const MAX_FREE_EARLY = 20_000;
const MAX_UNTAKEN_BYTES = 2 * 1024 * 1024;
const MAX_INPUT_UNDER_WAY = 256 * 1024;

/** Codes that "opened" carries when the opening call never reached the module's answer. */
const CODE_OF_REFUSAL: Record<string, number> = { timeout: 1460, busy: 170, not_connected: 2250 };

/**
 * One shell between a client's WebSocket and a stream of the machine. It keeps the order of the end (last output, "streamStop",
 * close), tells why it ended, and asks the machine for the end at most once and never after the machine's own.
 */
export class TerminalSession {
  readonly streamId: string;
  readonly #options: TerminalOptions;
  readonly #client: WebSocket;
  readonly #host: SessionHost;
  readonly #window: StreamWindow;
  /** What the machine sent before the opening call had returned. */
  readonly #early: Array<() => void> = [];
  #opened = false;
  #ended = false;
  #removed = false;
  #stopAsked = false;
  #machineStopped = false;
  #lastInput = performance.now();
  #inputUnderWay = 0;
  #closeTimer: NodeJS.Timeout | undefined;
  #clientAlive = true;
  readonly #clientPing: NodeJS.Timeout;

  constructor(client: WebSocket, options: TerminalOptions, host: SessionHost) {
    this.streamId = options.streamId;
    this.#options = options;
    this.#client = client;
    this.#host = host;
    this.#window = new StreamWindow(options.acknowledged, (bytes) =>
      host.agent.send({ type: "streamCredit", stream: this.streamId, bytes }),
    );
    client.on("message", (data, isBinary) => this.#receive(data, isBinary));
    client.on("pong", () => {
      this.#clientAlive = true;
    });
    client.on("error", () => {}); // "close" follows, and says all there is to say.
    client.on("close", () => this.#clientGone());
    this.#clientPing = setInterval(() => this.#pingClient(), host.limits.clientPingMs);
  }

  /** Opens the shell and tells the client; resolves with the code that it was told. */
  async open(): Promise<number> {
    // What is typed ahead stays in the client's socket until there is a shell to take it.
    this.#client.pause();
    const code = await this.#callOpen();
    if (this.#removed) return code;
    this.#sendToClient("opened", JSON.stringify({ streamId: this.streamId, code }));
    if (code !== 0) {
      this.#host.agent.send({ type: "streamClose", stream: this.streamId });
      this.end("openFailed");
      this.#remove();
      return code;
    }
    this.#opened = true;
    this.#lastInput = performance.now();
    for (const deliver of this.#early.splice(0)) deliver();
    this.#client.resume();
    if (this.#stopAsked && !this.#machineStopped) {
      this.#stopAsked = false;
      this.stop();
    }
    return code;
  }

  /** Throws ProtocolError when the agent broke the rules. */
  fromMachine({ message, content }: StreamMessage): void {
    const value = parseJson(content, "content of a stream message");
    const bytes = Buffer.byteLength(content);
    const free = message === "streamStop" || message === "resize";
    if (free && (bytes > MAX_FREE_BYTES || this.#early.length > MAX_FREE_EARLY)) {
      throw new ProtocolError(CloseCode.policy, "too much without credit");
    }
    const parcel = free ? undefined : this.#window.receive(bytes, countOutput(message, value));
    this.#whenOpened(() => {
      if (this.#machineStopped) return;
      this.#sendToClient(message, content, () => parcel && this.#window.written(parcel));
      if (message !== "streamStop") return;
      this.#machineStopped = true;
      this.end(this.#reasonOfStop());
    });
  }

  onStreamClosed(reason: StreamClosed["reason"]): void {
    this.#whenOpened(() => {
      if (reason === "lost") this.end("streamLost");
      else if (reason === "hostLost") this.end("hostLost");
      else if (reason === "unused") this.end("openFailed");
      else this.end(this.#reasonOfStop());
      this.#remove();
    });
  }

  onMachineLost(): void {
    this.end("machineLost");
    this.#remove();
  }

  /**
   * Asks the machine to end the session, once; the end comes with its answer, or without when it stays out. `text` is the
   * message that asks: a "streamStop" unless the client has sent its own.
   */
  stop(text: string = STREAM_STOP): void {
    if (this.#stopAsked || this.#machineStopped || this.#removed) return;
    if (this.#opened) this.#forward(text);
    this.#stopAsked = true;
    if (this.#opened) this.#awaitClosed();
  }

  /** Tells the client that the session is over. What was sent before still reaches it. */
  end(reason: EndReason, code: number = CloseCode.normal): void {
    if (this.#ended) return;
    this.#ended = true;
    clearInterval(this.#clientPing);
    this.#client.resume();
    this.#client.close(code, reason);
    this.#host.onEnded(this, reason);
    if (this.#opened) this.#awaitClosed();
  }

  async #callOpen(): Promise<number> {
    const { streamId, cols, rows, inactivityTimeout } = this.#options;
    const params = JSON.stringify({ streamId, size: { cols, rows }, inactivityTimeout });
    try {
      const reply = await this.#host.runCall(() => {
        this.#host.agent.send({ type: "streamOpen", stream: streamId });
        return this.#host.agent.call("RemoteAccess", "OpenTerminal", params);
      });
      return reply.result || reply.code;
    } catch (error) {
      const code = error instanceof ApiError ? CODE_OF_REFUSAL[error.word] : undefined;
      if (code === undefined) throw error;
      return code;
    }
  }

  #whenOpened(deliver: () => void): void {
    if (this.#opened) deliver();
    else this.#early.push(deliver);
  }

  #reasonOfStop(): EndReason {
    if (this.#stopAsked) return "closed";
    const limit = (this.#options.inactivityTimeout ?? MACHINE_INACTIVITY_SECONDS) * 1000;
    const idle = performance.now() - this.#lastInput;
    return idle >= limit - INACTIVITY_SLACK_MS ? "inactivity" : "shellExited";
  }

  /** `content` is JSON text, taken over as it is. */
  #sendToClient(type: string, content: string, taken: () => void = () => {}): void {
    if (this.#client.readyState !== this.#client.OPEN) return taken();
    this.#client.send(`{"type":${JSON.stringify(type)},"content":${content}}`, () => {
      this.#clientAlive = true;
      taken();
    });
    if (this.#client.bufferedAmount <= MAX_UNTAKEN_BYTES) return;
    this.stop();
    this.end("streamLost");
    this.#client.terminate();
  }

  #receive(data: RawData, isBinary: boolean): void {
    if (this.#ended) return;
    try {
      const text = readText(data, isBinary);
      this.#fromClient(readMessage<ClientMessage>(clientMessage, text), text);
    } catch (error) {
      if (!(error instanceof ProtocolError)) throw error;
      this.#client.close(error.code, error.reason);
      this.#clientGone();
    }
  }

  #fromClient(message: ClientMessage, text: string): void {
    switch (message.type) {
      case "ack":
        if (this.#window.acknowledge(message.bytes)) return;
        throw new ProtocolError(CloseCode.policy, "acknowledged more than was sent");
      case "data":
        this.#lastInput = performance.now();
        return this.#forward(text);
      case "resize":
        return this.#forward(JSON.stringify(message));
      case "streamStop":
      case "streamError":
        return this.stop(text);
    }
  }

  #forward(text: string): void {
    if (this.#stopAsked) return;
    const envelope = JSON.stringify({ type: "stream", stream: this.streamId, text });
    const bytes = Buffer.byteLength(envelope);
    if (bytes > MAX_MESSAGE_BYTES) {
      throw new ProtocolError(CloseCode.tooBig, "message too long for the machine");
    }
    // An agent that takes input slowly slows its own clients down, nobody else.
    this.#inputUnderWay += bytes;
    if (this.#inputUnderWay > MAX_INPUT_UNDER_WAY) this.#client.pause();
    this.#host.agent.sendText(envelope, () => {
      this.#inputUnderWay -= bytes;
      if (this.#inputUnderWay <= MAX_INPUT_UNDER_WAY) this.#client.resume();
    });
  }

  #awaitClosed(): void {
    this.#closeTimer ??= setTimeout(() => {
      this.end("closed");
      this.#remove();
    }, this.#host.limits.closeMs);
  }

  #clientGone(): void {
    this.#window.release();
    this.stop();
    this.end("closed");
  }

  #pingClient(): void {
    if (this.#client.isPaused) return;
    if (!this.#clientAlive) return this.#client.terminate();
    this.#clientAlive = false;
    this.#client.ping();
  }

  #remove(): void {
    if (this.#removed) return;
    this.#removed = true;
    clearTimeout(this.#closeTimer);
    clearInterval(this.#clientPing);
    this.#window.dispose();
    this.#host.onRemoved(this);
  }
}

/** The characters of output that a reader with acknowledgements counts. */
function countOutput(message: string, value: unknown): number {
  if (message !== "data" || typeof value !== "object" || value === null) return 0;
  const { encodedBuffer } = value as { encodedBuffer?: unknown };
  return typeof encodedBuffer === "string" ? encodedBuffer.length : 0;
}
