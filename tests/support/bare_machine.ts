import { type ChildProcess, execFileSync, spawn, spawnSync } from "node:child_process";
import { once } from "node:events";
import {
  closeSync,
  existsSync,
  mkdtempSync,
  openSync,
  readFileSync,
  rmSync,
  writeFileSync,
} from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { Api } from "./api.ts";
import { firstLine } from "./first_line.ts";

const repository = process.cwd();

export interface Outcome {
  code: number;
  output: string;
}

// A Windows machine with nothing of ours on it, and a management server with nothing in it.
export class BareMachine {
  private server: ChildProcess | undefined;
  api = new Api("", "");

  private constructor(
    readonly folder: string,
    private readonly machine: ChildProcess,
    private readonly environment: NodeJS.ProcessEnv,
  ) {}

  static async start(): Promise<BareMachine> {
    const folder = mkdtempSync(join(tmpdir(), "remote-access-package-"));
    const child = spawn(join(repository, "tests/support/bare_machine"), [folder], {
      stdio: ["pipe", "pipe", "inherit"],
    });
    const [, display, authority] = await firstLine(child, /^(\S+) (\S+)$/);
    const machine = new BareMachine(folder, child, {
      ...process.env,
      WINEPREFIX: join(folder, "prefix"),
      DISPLAY: display,
      XAUTHORITY: authority,
    });
    await machine.startServer();
    return machine;
  }

  async stop(): Promise<void> {
    this.server?.kill("SIGTERM");
    const ended = once(this.machine, "exit");
    this.machine.stdin?.end();
    await ended;
    rmSync(this.folder, { recursive: true, force: true });
  }

  // Runs a Windows program to its end. Its output goes to a file: who stays behind would hold a pipe open.
  async run(...command: string[]): Promise<Outcome> {
    const path = join(this.folder, "output");
    const output = openSync(path, "w");
    const child = spawn(join(repository, "cmake/wine-run"), command, {
      env: this.environment,
      stdio: ["ignore", output, output],
    });
    closeSync(output);
    const [code] = await once(child, "exit");
    return { code, output: readFileSync(path, "utf8") };
  }

  // A file on drive C:; `path` with slashes.
  file(path: string): string {
    return join(this.folder, "prefix/drive_c", path);
  }

  exists(path: string): boolean {
    return existsSync(this.file(path));
  }

  // The names of all files and folders of drive C:, and what programs and services have in the registry.
  // Ends what runs on the machine: only then is the registry on the disk.
  async snapshot(): Promise<{ files: string[]; registry: string[] }> {
    await this.run("wineboot", "--end-session", "--shutdown");
    for (const how of ["-k", "-w"]) spawnSync("wineserver", [how], { env: this.environment });
    // Links lead to the home of who runs this.
    const found = execFileSync("find", ["-P", this.file("."), "-printf", "%P\n"], {
      encoding: "utf8",
    });
    return {
      files: found.split("\n").sort(),
      registry: ["system.reg", "user.reg"].flatMap((name) => this.registry(name)),
    };
  }

  // A line for each key and each value.
  private registry(name: string): string[] {
    let key = "";
    const lines: string[] = [];
    for (const line of readFileSync(join(this.folder, "prefix", name), "latin1").split("\n")) {
      if (line.startsWith("[")) key = line.slice(1, line.lastIndexOf("]"));
      if (line.startsWith("[")) lines.push(key);
      else if (/^["@]/.test(line)) lines.push(`${key} ${line}`);
    }
    return lines
      .filter((each) => /^(Software|System\\\\CurrentControlSet\\\\Services)/.test(each))
      .sort();
  }

  private async startServer(): Promise<void> {
    const secret = (name: string) => {
      writeFileSync(join(this.folder, name), `${name}-of-this-test\n`);
      return join(this.folder, name);
    };
    const main = join(repository, "management/server/dist/main.js");
    const data = join(this.folder, "server");
    const files = ["--token-file", secret("token"), "--enrolment-key-file", secret("key")];
    this.server = spawn("node", [main, "--port", "0", "--data", data, ...files], {
      stdio: ["ignore", "pipe", "ignore"],
    });
    const [, address = ""] = await firstLine(this.server, /^Listening on (http\S+)/);
    this.api = new Api(address, "token-of-this-test");
  }
}
