import { WebSocket } from "ws";
import type { Api } from "./api.ts";

export interface ShellOptions {
  cols?: number;
  rows?: number;
  inactivityTimeout?: number;
}

interface StreamMessage {
  type: string;
  content: { streamId?: string; code?: number; encodedBuffer?: string } & Record<string, unknown>;
}

// One terminal over the WebSocket, with everything that came from the machine.
export class Shell {
  readonly messages: StreamMessage[] = [];
  output = "";
  bytes = 0;
  streamId = "";
  code = -1;
  closed: Promise<{ code: number; reason: string }>;
  private readonly decoder = new TextDecoder();
  private wake: () => void = () => {};

  private constructor(readonly socket: WebSocket) {
    socket.on("error", () => {}); // "close" follows.
    socket.on("message", (data) => this.take(JSON.parse(data.toString()) as StreamMessage));
    this.closed = new Promise((done) => {
      socket.on("close", (code, reason) => {
        done({ code, reason: reason.toString() });
        this.wake();
      });
    });
  }

  static async open(api: Api, machine: string, options: ShellOptions = {}): Promise<Shell> {
    const query = new URLSearchParams(
      Object.entries(options).map(([key, value]): [string, string] => [key, String(value)]),
    );
    const address = `${api.address.replace("http", "ws")}/api/machines/${machine}/terminal?${query}`;
    const shell = new Shell(new WebSocket(address, { headers: api.headers }));
    await shell.until(() => shell.messages.some((message) => message.type === "opened"));
    return shell;
  }

  // Waits for a condition that messages bring about; rejects where the session ends before.
  async until(condition: () => boolean): Promise<void> {
    while (!condition()) {
      if (this.socket.readyState === WebSocket.CLOSED) {
        throw new Error(`the session ended before; output:\n${this.output.slice(-500)}`);
      }
      await new Promise<void>((next) => {
        this.wake = next;
      });
    }
  }

  // Waits for a text in the output from `from` on, and gives the position behind it.
  async see(text: string, from = 0): Promise<number> {
    await this.until(() => this.output.indexOf(text, from) >= 0);
    return this.output.indexOf(text, from) + text.length;
  }

  send(message: unknown): void {
    this.socket.send(typeof message === "string" ? message : JSON.stringify(message));
  }

  type(text: string): void {
    const encodedBuffer = Buffer.from(text).toString("base64");
    this.send({ type: "data", data: { encodedBuffer } });
  }

  // Runs a command that prints `result` for "echo" of a marker; the caret keeps the typed echo from matching.
  async echo(marker: string): Promise<void> {
    const from = this.output.length;
    this.type(`echo ${marker.slice(0, 1)}^${marker.slice(1)}\r`);
    await this.see(marker, from);
  }

  resize(cols: number, rows: number): void {
    this.send({ type: "resize", resize: { cols, rows } });
  }

  count(type: string): number {
    return this.messages.filter((message) => message.type === type).length;
  }

  async close(): Promise<{ code: number; reason: string }> {
    this.send({ type: "streamStop" });
    return this.closed;
  }

  private take(message: StreamMessage): void {
    if (message.type === "data") {
      const bytes = Buffer.from(message.content.encodedBuffer ?? "", "base64");
      this.bytes += bytes.length;
      this.output += this.decoder.decode(bytes, { stream: true });
    } else {
      this.messages.push(message);
    }
    if (message.type === "opened") {
      this.streamId = message.content.streamId ?? "";
      this.code = message.content.code ?? -1;
    }
    this.wake();
  }
}
