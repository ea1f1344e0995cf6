import { randomUUID } from "node:crypto";
import { existsSync, mkdirSync, readdirSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import type { Api } from "./api.ts";
import { EventFeed } from "./event_feed.ts";

export interface PolicyAnswer {
  status: number;
  output: {
    message?: string;
    jobId?: string;
    pid?: number;
    enabled?: boolean;
    runContext?: unknown;
  };
}

export interface DownloadItem {
  sourceUri: string;
  to: string;
}

export interface Finished {
  jobId: string;
  name: string;
  status: string;
  exitCode: number;
  reason: string;
  runContext: unknown;
  items: { sourceUri: string; to: string; pattern: string; errorCode: number; error: string }[];
  centralizedStorage: {
    profile: string;
    error: number;
    reason: string;
    httpResponse: { responseCode: number; body?: { name: string; size: number } };
  };
  startUploadArchive: {
    error: number;
    output: { jobId: string; message: string; runContext: unknown };
  };
}

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

  async policy(method: string, input?: unknown): Promise<PolicyAnswer> {
    const response = await this.rawPolicy(
      method,
      input === undefined ? undefined : JSON.stringify(input),
    );
    if (!response.ok) throw new Error(`${method}: ${response.status} ${await response.text()}`);
    return (await response.json()) as PolicyAnswer;
  }

  rawPolicy(method: string, body?: string): Promise<Response> {
    return fetch(`${this.api.address}/api/machines/${this.machine}/policy/${method}`, {
      method: "POST",
      headers: this.api.headers,
      ...(body === undefined ? {} : { body }),
    });
  }

  storage(name: string, init: RequestInit & { duplex?: "half" } = {}): Promise<Response> {
    const headers = { ...this.api.headers, ...init.headers };
    return fetch(`${this.api.address}/api/storage/default/${name}`, { ...init, headers });
  }

  async store(name: string, content: string | Uint8Array<ArrayBuffer>): Promise<string> {
    const response = await this.storage(encodeURIComponent(name), { method: "PUT", body: content });
    if (response.status !== 201) throw new Error(`PUT ${name}: ${response.status}`);
    return name;
  }

  async fetched(name: string): Promise<Buffer> {
    const response = await this.storage(encodeURIComponent(name));
    if (!response.ok) throw new Error(`GET ${name}: ${response.status}`);
    return Buffer.from(await response.arrayBuffer());
  }

  // What an entry of a stored archive holds.
  async entry(name: string, path: string): Promise<Buffer> {
    const response = await this.storage(
      `${encodeURIComponent(name)}?entry=${encodeURIComponent(path)}`,
    );
    if (!response.ok) throw new Error(`entry ${path} of ${name}: ${response.status}`);
    return Buffer.from(await response.arrayBuffer());
  }

  download(items: DownloadItem[], more: object = {}): Promise<PolicyAnswer> {
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
    return { ...answer, finished: () => this.events.finished("ProcessFinished", isOurs) };
  }

  // The text that the run of a command has left in its output file.
  async outputOf(run: Finished): Promise<string> {
    const { jobId } = run.startUploadArchive.output;
    const upload = await this.uploadFinished(jobId);
    const output = upload.items.at(-1)?.pattern ?? "";
    const name = upload.centralizedStorage.httpResponse.body?.name ?? "";
    return (await this.entry(name, archiveName(output))).toString();
  }

  downloadFinished(jobId: string | undefined): Promise<Finished> {
    return this.events.finished("DownloadFinished", (data) => data.jobId === jobId);
  }

  uploadFinished(jobId: string | undefined): Promise<Finished> {
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

const programs = join(process.cwd(), "build/release/bin").replaceAll("/", "\\");
export const testProgram = `Z:${programs}\\system_test_program.exe`;
