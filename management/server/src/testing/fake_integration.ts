import { type Message, openSocket, Peer } from "./peer.ts";

export interface FakeIntegrationOptions {
  key: string;
  id?: string;
  instance?: string;
  store?: string;
}

/** The integration of an agent without a machine: answers policy calls as told, and sends what events the test wants. */
export class FakeIntegration extends Peer {
  /** Answers a policy call; null leaves it without an answer. */
  onPolicy: (call: Message) => { status?: number; output?: unknown } | null = () => ({});

  static async connect(url: string, options: FakeIntegrationOptions): Promise<FakeIntegration> {
    const { key, id = "machine-0001", instance = "run 1", store = "store 1" } = options;
    const socket = await openSocket(`${url}/api/integration`, {
      authorization: `Bearer ${key}`,
      "x-machine-id": id,
      "x-machine-name": "Desk",
    });
    const integration = new FakeIntegration(socket);
    integration.send({ type: "hello", version: 1, instance, store });
    return integration;
  }

  protected override take(message: Message): boolean {
    if (message.type === "ping") this.send({ type: "pong" });
    const reply = message.type === "policy" && this.onPolicy(message);
    if (reply) {
      this.send({ type: "policyReply", id: message.id, status: 0, output: {}, ...reply });
    }
    return false;
  }

  /** Sends an event; `data` is what it tells. */
  event(seq: number, name = "Any", data: unknown = seq): void {
    this.send({ type: "event", seq, name, payload: { data } });
  }

  /** Waits until the server keeps all up to that number. */
  async acknowledged(seq: number): Promise<void> {
    while ((await this.next("eventAck")).seq < seq);
  }
}
