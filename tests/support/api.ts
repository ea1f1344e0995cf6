import { EventReader } from "../../management/server/src/testing/event_reader.ts";
import { Shell, type ShellOptions } from "./shell.ts";

export interface Machine {
  id: string;
  name: string;
  connected: boolean;
  enabled: boolean | null;
  sessions: number;
}

export interface HistoryRecord {
  sequence: number;
  time: number;
  feature: string;
  values: Record<string, string>;
}

export interface RpcAnswer {
  result: number;
  code: number;
  text: string;
}

// The outside contract, as a script would use it.
export class Api {
  constructor(
    readonly address: string,
    readonly token: string,
  ) {}

  get headers(): Record<string, string> {
    return { Authorization: `Bearer ${this.token}` };
  }

  async machines(): Promise<Machine[]> {
    const response = await fetch(`${this.address}/api/machines`, { headers: this.headers });
    if (!response.ok) throw new Error(`machines: ${response.status}`);
    return (await response.json()) as Machine[];
  }

  // The one machine that a test's stack has.
  async machine(): Promise<Machine> {
    const [machine] = await this.machines();
    if (!machine) throw new Error("no machine");
    return machine;
  }

  // Waits until `condition` holds of the machine, as the live feed tells it.
  async machineThat(condition: (machine: Machine) => boolean): Promise<Machine> {
    const stop = new AbortController();
    const { headers } = this;
    const feed = await fetch(`${this.address}/api/live`, { headers, signal: stop.signal });
    const isWanted = ({ machines: [machine] }: { machines: Machine[] }) =>
      machine !== undefined && condition(machine);
    const { data } = await new EventReader(feed).find(isWanted);
    stop.abort();
    return data.machines[0];
  }

  async rpc(method: string, parameters: string, module?: string): Promise<RpcAnswer> {
    const { id } = await this.machine();
    const query = module === undefined ? "" : `?module=${module}`;
    const response = await fetch(`${this.address}/api/machines/${id}/rpc/${method}${query}`, {
      method: "POST",
      headers: { ...this.headers, "Content-Type": "text/plain" },
      body: parameters,
    });
    if (!response.ok) throw new Error(`rpc ${method}: ${response.status}`);
    return (await response.json()) as RpcAnswer;
  }

  // The newest records of the machine's own history, newest first.
  async history(): Promise<HistoryRecord[]> {
    const { id } = await this.machine();
    const response = await fetch(`${this.address}/api/machines/${id}/history`, {
      headers: this.headers,
    });
    if (!response.ok) throw new Error(`history: ${response.status}`);
    return ((await response.json()) as { records: HistoryRecord[] }).records;
  }

  async shell(options: ShellOptions = {}): Promise<Shell> {
    const { id } = await this.machine();
    return Shell.open(this, id, options);
  }
}
