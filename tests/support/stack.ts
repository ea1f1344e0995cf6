import { type ChildProcess, spawn } from "node:child_process";
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { Api } from "./api.ts";

// Tests and benchmarks are run from the root of the repository.
const repository = process.cwd();

// The whole system as `./run` starts it, on a free port and in a data folder of its own.
export class Stack {
  private constructor(
    private readonly child: ChildProcess,
    readonly address: string,
    readonly token: string,
    readonly data: string,
  ) {}

  // Resolves when the machines are connected; rejects with what `./run` printed if it ends before. `data` is the folder of
  // one that has stopped.
  static async start(
    options: string[] = [],
    data = mkdtempSync(join(tmpdir(), "remote-access-")),
  ): Promise<Stack> {
    const token = `test-${process.pid}`;
    const args = ["--port", "0", "--data", data, "--token", token, "--no-browser", ...options];
    const child = spawn(join(repository, "run"), args, {
      cwd: repository,
      stdio: ["ignore", "pipe", "pipe"],
    });
    const address = await new Promise<string>((ready, failed) => {
      let printed = "";
      const read = (chunk: Buffer) => {
        printed += chunk.toString();
        const match = /^Ready: (http:\/\/[^/\s]+)/m.exec(printed);
        if (match?.[1]) ready(match[1]);
      };
      child.stdout?.on("data", read);
      child.stderr?.on("data", read);
      child.once("exit", (code) => failed(new Error(`./run ended with ${code}:\n${printed}`)));
    });
    return new Stack(child, address, token, data);
  }

  get api(): Api {
    return new Api(this.address, this.token);
  }

  // Ends it as Ctrl-C does and gives its exit code. The data folder goes unless `keep` is set.
  // Stopping twice gives the same code.
  async stop({ keep = false } = {}): Promise<number | null> {
    if (this.child.exitCode === null) {
      const ended = new Promise((done) => this.child.once("exit", done));
      this.child.kill("SIGINT");
      await ended;
    }
    const code = this.child.exitCode;
    if (!keep) rmSync(this.data, { recursive: true, force: true });
    return code;
  }
}
