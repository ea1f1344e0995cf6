import { randomFillSync, randomInt, randomUUID } from "node:crypto";
import { setTimeout as pause } from "node:timers/promises";
import type { Message } from "../../management/server/src/testing/peer.ts";
import { type Remote, testProgram } from "./remote.ts";

// Far beyond every time-out of the system: what takes longer hangs.
const LIMIT_MS = 180_000;
const POLL_MS = 200;

const isOver = ({ phase }: Message) => ["refused", "ended", "lost"].includes(phase);

// Shells, downloads, uploads and commands, each again and again until the stop. What is refused or ends early because a process
// has died is fine; what never ends is not.
export class Workload {
  readonly outcomes: Record<string, number> = {};
  private running = true;
  private readonly loops: Promise<void>[];

  private constructor(private readonly remote: Remote) {
    const works = {
      shell: () => this.useShell(),
      secondShell: () => this.useShell(),
      download: () => this.download(),
      upload: () => this.upload(),
      command: () => this.command(),
    };
    this.loops = Object.entries(works).map(([name, work]) => this.repeat(name, work));
  }

  static async start(remote: Remote): Promise<Workload> {
    await remote.store("load.bin", randomFillSync(Buffer.alloc(8 * 1024 * 1024)));
    remote.write("load/source.bin", randomFillSync(Buffer.alloc(4 * 1024 * 1024)));
    return new Workload(remote);
  }

  // Resolves when all that was begun has come to its end; rejects with what hung.
  async stop(): Promise<void> {
    this.running = false;
    await Promise.all(this.loops);
  }

  // The jobs that have neither ended nor are known to be lost.
  async pending(): Promise<Message[]> {
    return (await this.remote.jobs()).filter((job) => !isOver(job));
  }

  private async repeat(name: string, work: () => Promise<void>): Promise<void> {
    while (this.running) {
      let outcome = `${name} done`;
      try {
        await work();
      } catch (error) {
        if (error instanceof Hung) throw error;
        outcome = `${name} failed`;
        await pause(POLL_MS); // What is refused at once is not asked for in a tight loop.
      }
      this.outcomes[outcome] = (this.outcomes[outcome] ?? 0) + 1;
    }
  }

  private async useShell(): Promise<void> {
    const shell = await within("opening a shell", this.remote.api.shell());
    try {
      for (let line = randomInt(6); line > 0; line--) {
        await within("an echo", shell.echo(`line-${line}-${randomUUID()}`));
      }
      if (randomInt(3) === 0) {
        // Taken by a shell only that has begun to read.
        await within("an echo", shell.echo(randomUUID()));
        shell.type("exit\r");
        await within("the end of a shell", shell.closed);
      }
    } finally {
      shell.socket.close();
      await within("the end of a session", shell.closed);
    }
  }

  private download(): Promise<void> {
    const to = `C:\\load\\${randomInt(4)}`;
    return this.job("StartDownload", {
      timeout: 120,
      items: [{ sourceUri: "load.bin", to }],
      centralizedStorage: { profile: "default" },
      streamId: "",
    });
  }

  private upload(): Promise<void> {
    return this.job("StartUploadArchive", this.remote.upload(["C:\\load\\source.bin"]));
  }

  private command(): Promise<void> {
    const commandLine = randomInt(2) ? "cmd /c echo some output" : `"${testProgram}" sleep`;
    return this.job("StartProcess", {
      execute: { commandLine, timeout: 3, outputPath: "output.txt", workingDir: "" },
      startUploadArchive: this.remote.upload([]),
    });
  }

  // Starts a job and waits until the server knows what has become of it.
  private async job(method: string, input: object): Promise<void> {
    const run = randomUUID();
    await within(method, this.remote.policy(method, { ...input, runContext: { run } }));
    await within(`a job of ${method}`, this.end(run));
  }

  private async end(run: string): Promise<void> {
    for (;;) {
      const job = (await this.remote.jobs()).find((each) => each.input?.runContext?.run === run);
      if (job && isOver(job)) return;
      await pause(POLL_MS);
    }
  }
}

class Hung extends Error {}

function within<T>(what: string, work: Promise<T>): Promise<T> {
  const limit = pause(LIMIT_MS, undefined, { ref: false }).then(() => {
    throw new Hung(`${what} hangs`);
  });
  return Promise.race([work, limit]);
}
