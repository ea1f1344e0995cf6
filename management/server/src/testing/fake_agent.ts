import type WebSocket from "ws";
import { type Message, openSocket, Peer } from "./peer.ts";

export interface FakeAgentOptions {
  key: string;
  id?: string;
  name?: string;
  enabled?: boolean;
  /** False: the test sends the hello, or does not. */
  hello?: boolean;
  answersPings?: boolean;
}

/** An agent without a machine: connects as a real one does, answers remote calls as told, and leaves streams to the test. */
export class FakeAgent extends Peer {
  /** Answers a remote call; null leaves it without an answer. */
  onCall: (call: Message) => { result?: number; code?: number; text?: string } | null = () => ({});

  readonly #answersPings: boolean;

  private constructor(socket: WebSocket, answersPings: boolean) {
    super(socket);
    this.#answersPings = answersPings;
  }

  static async connect(url: string, options: FakeAgentOptions): Promise<FakeAgent> {
    const { key, id = "machine-0001", name = "Désk 1", enabled = true, hello = true } = options;
    const socket = await openSocket(`${url}/api/agent`, {
      authorization: `Bearer ${key}`,
      "x-machine-id": id,
      "x-machine-name": encodeURIComponent(name),
    });
    const agent = new FakeAgent(socket, options.answersPings ?? true);
    if (hello) agent.send({ type: "hello", version: 1, enabled });
    return agent;
  }

  protected override take(message: Message): boolean {
    if (message.type === "ping" && this.#answersPings) this.send({ type: "pong" });
    if (message.type !== "rpc") return false;
    const reply = this.onCall(message);
    if (reply) {
      this.send({ type: "rpcReply", id: message.id, result: 0, code: 0, text: "", ...reply });
    }
    return false;
  }

  /** Sends console output on a stream. */
  output(stream: string, text: string): void {
    const encodedBuffer = Buffer.from(text).toString("base64");
    this.sendStream(stream, "data", `${JSON.stringify({ encodedBuffer })}\n`);
  }

  sendStream(stream: string, message: string, content: string): void {
    this.send({ type: "stream", stream, message, content });
  }

  /** The end of a stream as a machine tells it. */
  endStream(stream: string): void {
    this.sendStream(stream, "streamStop", '{"reason":0}\n');
    this.send({ type: "streamClosed", stream, reason: "destroyed" });
  }
}
