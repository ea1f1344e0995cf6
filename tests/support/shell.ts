import { WebSocket } from "ws";
import { type Message, Peer } from "../../management/server/src/testing/peer.ts";
import type { Api } from "./api.ts";

export interface ShellOptions {
  cols?: number;
  rows?: number;
  inactivityTimeout?: number;
}

// One terminal over the WebSocket, with everything that came from the machine.
export class Shell extends Peer {
  readonly messages: Message[] = [];
  output = "";
  bytes = 0;
  streamId = "";
  code = -1;
  private readonly decoder = new TextDecoder();

  static async begin(api: Api, machine: string, options: ShellOptions = {}): Promise<Shell> {
    const query = new URLSearchParams(
      Object.entries(options).map(([key, value]): [string, string] => [key, String(value)]),
    );
    const address = `${api.address.replace("http", "ws")}/api/machines/${machine}/terminal?${query}`;
    const shell = new Shell(new WebSocket(address, { headers: api.headers }));
    await shell.until(() => shell.count("opened") > 0);
    return shell;
  }

  // Waits for a condition that messages bring about; rejects where the session ends before.
  override async until(condition: () => boolean): Promise<void> {
    await super.until(condition).catch((error: Error) => {
      throw new Error(`${error.message}; output:\n${this.output.slice(-500)}`);
    });
  }

  // Waits for a text in the output from `from` on, and gives the position behind it.
  async see(text: string, from = 0): Promise<number> {
    await this.until(() => this.output.indexOf(text, from) >= 0);
    return this.output.indexOf(text, from) + text.length;
  }

  type(text: string): void {
    const encodedBuffer = Buffer.from(text).toString("base64");
    this.send({ type: "data", data: { encodedBuffer } });
  }

  // Has the shell print a marker; the caret keeps the typed echo from matching.
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

  protected override take({ type, content }: Message): boolean {
    if (type === "data") {
      const bytes = Buffer.from(content.encodedBuffer, "base64");
      this.bytes += bytes.length;
      this.output += this.decoder.decode(bytes, { stream: true });
    } else {
      this.messages.push({ type, content });
    }
    if (type === "opened") ({ streamId: this.streamId, code: this.code } = content);
    return true;
  }
}
