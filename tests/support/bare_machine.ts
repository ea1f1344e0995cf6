import { type ChildProcess, execFile, execFileSync, spawn } from "node:child_process";
import { existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { Api } from "./api.ts";

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
    const [display, authority] = (await firstLine(child, / /)).trim().split(" ");
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
    const ended = new Promise((done) => this.machine.once("exit", done));
    this.machine.stdin?.end();
    await ended;
    rmSync(this.folder, { recursive: true, force: true });
  }

  // Runs a Windows program to its end. Its output goes to a file: who stays behind would hold a pipe open.
  async run(...command: string[]): Promise<Outcome> {
    const output = join(this.folder, "output");
    const script = 'exec "$0" "$@" </dev/null >"$OUTPUT" 2>&1';
    const code = await new Promise<number>((done) => {
      const args = ["-c", script, join(repository, "cmake/wine-run"), ...command];
      execFile("bash", args, { env: { ...this.environment, OUTPUT: output } }, (error) =>
        done(error ? Number(error.code) : 0),
      );
    });
    return { code, output: readFileSync(output, "utf8") };
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
    await new Promise((done) =>
      execFile("wineserver", ["-k"], { env: this.environment }, () =>
        execFile("wineserver", ["-w"], { env: this.environment }, done),
      ),
    );
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
    const line = await firstLine(this.server, /^Listening on http\S+/);
    this.api = new Api(
      line.trim().replace("Listening on ", "").replace(/\/$/, ""),
      "token-of-this-test",
    );
  }
}

function firstLine(child: ChildProcess, pattern: RegExp): Promise<string> {
  return new Promise((found, failed) => {
    let text = "";
    child.stdout?.on("data", (chunk: Buffer) => {
      text += chunk.toString();
      const line = text
        .split("\n")
        .slice(0, -1)
        .find((each) => pattern.test(each));
      if (line) found(line);
    });
    child.once("exit", (code) => failed(new Error(`${child.spawnfile} has ended with ${code}`)));
  });
}
