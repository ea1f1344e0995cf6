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

  request(path: string, init: RequestInit = {}): Promise<Response> {
    const headers = { ...this.headers, ...init.headers };
    return fetch(`${this.address}/api/${path}`, { ...init, headers });
  }

  // What a request is answered with that has to succeed.
  async ask<Answer>(path: string, init: RequestInit = {}): Promise<Answer> {
    const response = await this.request(path, init);
    if (!response.ok) throw new Error(`${path}: ${response.status} ${await response.text()}`);
    return (await response.json()) as Answer;
  }

  machines(): Promise<Machine[]> {
    return this.ask("machines");
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
    const feed = await this.request("live", { signal: stop.signal });
    const isWanted = ({ machines: [machine] }: { machines: Machine[] }) =>
      machine !== undefined && condition(machine);
    const { data } = await new EventReader(feed).find(isWanted);
    stop.abort();
    return data.machines[0];
  }

  async rpc(method: string, parameters: string, module?: string): Promise<RpcAnswer> {
    const { id } = await this.machine();
    const query = module === undefined ? "" : `?module=${module}`;
    return this.ask(`machines/${id}/rpc/${method}${query}`, { method: "POST", body: parameters });
  }

  // The newest records of the machine's own history, newest first.
  async history(): Promise<HistoryRecord[]> {
    const { id } = await this.machine();
    return (await this.ask<{ records: HistoryRecord[] }>(`machines/${id}/history`)).records;
  }

  async shell(options: ShellOptions = {}): Promise<Shell> {
    const { id } = await this.machine();
    return Shell.begin(this, id, options);
  }
}
