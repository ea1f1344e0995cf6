import { Shell, type ShellOptions } from "./shell.ts";

export interface Machine {
  id: string;
  name: string;
  connected: boolean;
  enabled: boolean | null;
  sessions: number;
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

  // Waits until `condition` holds of the machine; the feed tells when to look again.
  async machineThat(condition: (machine: Machine) => boolean): Promise<Machine> {
    for (;;) {
      const machine = await this.machine();
      if (condition(machine)) return machine;
      await new Promise((next) => setTimeout(next, 50));
    }
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

  async shell(options: ShellOptions = {}): Promise<Shell> {
    const { id } = await this.machine();
    return Shell.open(this, id, options);
  }
}
