import { randomUUID } from "node:crypto";
import { existsSync, mkdirSync, readdirSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import type { Message } from "../../management/server/src/testing/peer.ts";
import type { Api } from "./api.ts";
import { EventFeed } from "./event_feed.ts";

// What a machine answers to a policy call.
export interface PolicyAnswer {
  status: number;
  output: Message;
}

// What the end of a job tells.
export type Finished = Message & { items: Message[] };

// Policy methods, files and events of a stack's one machine, by the outside contract, and the machine's disk as its owner
// sees it.
export class Remote {
  private constructor(
    readonly api: Api,
    readonly machine: string,
    readonly data: string,
    readonly events: EventFeed,
  ) {}

  // With the events from now on, or from after `since`.
  static async open(api: Api, data: string, since?: number): Promise<Remote> {
    const { id } = await api.machine();
    return new Remote(api, id, data, await EventFeed.open(api, id, since));
  }

  close(): void {
    this.events.close();
  }

  policy(method: string, input?: unknown): Promise<PolicyAnswer> {
    const body = JSON.stringify(input) ?? null;
    return this.api.ask(`machines/${this.machine}/policy/${method}`, { method: "POST", body });
  }

  // What the server has of the jobs, newest last.
  jobs(): Promise<Message[]> {
    return this.api.ask(`machines/${this.machine}/jobs`);
  }

  storage(name: string, init: RequestInit = {}): Promise<Response> {
    return this.api.request(`storage/default/${name}`, init);
  }

  async store(name: string, body: string | Uint8Array<ArrayBuffer>): Promise<void> {
    await this.api.ask(`storage/default/${encodeURIComponent(name)}`, { method: "PUT", body });
  }

  // What an entry of a stored archive holds.
  async entry(name: string, path: string): Promise<Buffer> {
    const response = await this.storage(
      `${encodeURIComponent(name)}?entry=${encodeURIComponent(path)}`,
    );
    if (!response.ok) throw new Error(`entry ${path} of ${name}: ${response.status}`);
    return Buffer.from(await response.arrayBuffer());
  }

  download(items: { sourceUri: string; to: string }[], more: object = {}): Promise<PolicyAnswer> {
    return this.policy("StartDownload", {
      timeout: 300,
      items,
      centralizedStorage: { profile: "default" },
      runContext: { test: randomUUID() },
      streamId: "",
      ...more,
    });
  }

  // The input of "StartUploadArchive".
  upload(paths: string[], more: object = {}): object {
    return {
      timeout: 300,
      name: `archive-${randomUUID()}`,
      password: "",
      streamId: "",
      items: paths.map((pattern) => ({ pattern })),
      centralizedStorage: { profile: "default", postItems: [] },
      runContext: { test: randomUUID() },
      ...more,
    };
  }

  startUpload(paths: string[], more: object = {}): Promise<PolicyAnswer> {
    return this.policy("StartUploadArchive", this.upload(paths, more));
  }

  // Runs a command with its output in a temporary folder; the run's context tells its event from others.
  async run(
    commandLine: string,
    { execute = {}, upload = {} }: { execute?: object; upload?: object } = {},
  ) {
    const runContext = { run: randomUUID() };
    const answer = await this.policy("StartProcess", {
      execute: { commandLine, timeout: 120, outputPath: "output.txt", workingDir: "", ...execute },
      runContext,
      startUploadArchive: this.upload([], upload),
    });
    const isOurs = (data: Finished) =>
      JSON.stringify(data.runContext) === JSON.stringify(runContext);
    const finished = (events = this.events) => events.finished("ProcessFinished", isOurs);
    return { ...answer, finished };
  }

  // The text that the run of a command has left in its output file.
  async outputOf(run: Finished): Promise<string> {
    const { jobId } = run.startUploadArchive.output;
    const upload = await this.uploadFinished(jobId);
    const output = upload.items.at(-1)?.pattern ?? "";
    const name = upload.centralizedStorage.httpResponse.body?.name ?? "";
    return (await this.entry(name, archiveName(output))).toString();
  }

  downloadFinished(jobId: string): Promise<Finished> {
    return this.events.finished("DownloadFinished", (data) => data.jobId === jobId);
  }

  uploadFinished(jobId: string): Promise<Finished> {
    return this.events.finished("UploadFinished", (data) => data.jobId === jobId);
  }

  // A file on drive C: of the machine; `path` with slashes.
  file(path: string): string {
    return join(this.data, "machine-1/prefix/drive_c", path);
  }

  // What the agent has left in the temporary folders of the machine's users, at any depth.
  temporary(): string[] {
    return readdirSync(this.file("users"))
      .flatMap((user) => [`users/${user}/Temp`, `users/${user}/AppData/Local/Temp`])
      .map((folder) => this.file(folder))
      .filter((folder) => existsSync(folder))
      .flatMap((folder) => readdirSync(folder, { recursive: true }).map(String))
      .filter((path) => path.startsWith("Tessaro."));
  }

  write(path: string, content: string | Uint8Array = path): void {
    mkdirSync(dirname(this.file(path)), { recursive: true });
    writeFileSync(this.file(path), content);
  }
}

// The name under which a file of drive C: stands in an archive.
export function archiveName(path: string): string {
  return path.replace(/^[A-Za-z]:\\/, "").replaceAll("\\", "/");
}

// A file of this computer, as the machine sees it.
export const windowsPath = (path: string) => `Z:${path.replaceAll("/", "\\")}`;

export const testProgram = windowsPath(
  join(process.cwd(), "build/release/bin/system_test_program.exe"),
);
