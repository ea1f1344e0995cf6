import { effect, type Signal, signal } from "@preact/signals";
import { type Problem, problemOf } from "../api/problem";
import { policy, putStored } from "../api/server";
import { jobsOf } from "../live/jobs_feed";
import { perMachine } from "../live/per_machine";
import { newId } from "../new_id";
import { problemOfAnswer } from "../words_of_codes";
import { size } from "../words_of_sizes";
import { jobIdOf, type Leftover, rememberLeftover, removeLeftover } from "./leftovers";
import { joinPath, storageName } from "./names";
import { CheckedPath } from "./path_check";
import { MAX_FILES, type PickedFile, withPicked } from "./picked_files";
import { currentProfile } from "./profiles";

export const TRANSFER_TIMEOUT_S = 6 * 60 * 60;
const DEFAULT_FOLDER = "C:\\Users\\Public\\Downloads";

/** Files on their way into the storage; from there on the server tells of the job with that id. */
export interface Upload {
  jobId: string;
  folder: string;
  files: PickedFile[];
  total: number;
  bytes: Signal<number>;
  state: Signal<{ phase: "storing" | "asking" } | { phase: "failed"; problem: Problem }>;
  cancel: AbortController;
}

interface NamedFile extends PickedFile {
  stored: string;
}

/** What is being prepared and under way for one machine, kept while other views are shown. */
export class Sending {
  readonly machineId: string;
  readonly folder: CheckedPath;
  readonly files = signal<PickedFile[]>([]);
  readonly uploads = signal<readonly Upload[]>([]);

  constructor(machineId: string) {
    this.machineId = machineId;
    this.folder = new CheckedPath(localStorage.getItem(this.#folderKey) ?? DEFAULT_FOLDER);
    // From when the server tells of the job, that says more.
    effect(() => {
      const known = new Set(jobsOf(machineId).jobs.value.map(jobIdOf));
      const uploads = this.uploads.value.filter(({ jobId }) => !known.has(jobId));
      if (uploads.length < this.uploads.value.length) this.uploads.value = uploads;
    });
  }

  add(files: PickedFile[]): void {
    this.files.value = withPicked(this.files.value, files);
  }

  remove(picked: PickedFile): void {
    this.files.value = this.files.value.filter((other) => other !== picked);
  }

  clear(): void {
    this.files.value = [];
  }

  /** Why the files can't be sent, as far as it is known here. */
  get problem(): Problem | undefined {
    if (this.files.value.length > MAX_FILES) {
      return {
        text: "More than 1,000 files can't be sent at once. Pack them into an archive first.",
      };
    }
    const limit = currentProfile()?.maxSize ?? Number.POSITIVE_INFINITY;
    const large = this.files.value.find(({ file }) => file.size > limit);
    if (!large) return undefined;
    return { text: `${large.file.name} is larger than the ${size(limit)} that the storage takes.` };
  }

  /** Asks the machine about the folder, then sends. `anyway` goes on with a folder that the machine has doubts about. */
  async start({ anyway }: { anyway: boolean }): Promise<void> {
    const profile = currentProfile()?.name;
    if (!profile || this.folder.check.value.phase === "asking") return;
    localStorage.setItem(this.#folderKey, this.folder.path.value);
    const check = await this.folder.ask(this.machineId, "send", profile);
    if (check.phase !== "good" && !anyway) return;
    const files = this.files.value;
    if (files.length === 0) return;
    this.clear();
    this.folder.forget();
    await this.#send(this.folder.path.value, files, profile);
  }

  /** Sends once more what did not get there. */
  retry(upload: Upload): void {
    const profile = currentProfile()?.name;
    if (!profile) return;
    this.dismiss(upload);
    this.#send(upload.folder, upload.files, profile);
  }

  dismiss(upload: Upload): void {
    this.uploads.value = this.uploads.value.filter((other) => other !== upload);
  }

  async #send(folder: string, files: PickedFile[], profile: string): Promise<void> {
    const jobId = newId();
    const upload: Upload = {
      jobId,
      folder,
      files,
      total: files.reduce((sum, { file }) => sum + file.size, 0),
      bytes: signal(0),
      state: signal({ phase: "storing" }),
      cancel: new AbortController(),
    };
    this.uploads.value = [upload, ...this.uploads.value];
    const named: NamedFile[] = files.map((picked, index) => ({
      ...picked,
      stored: storageName(`sent-${jobId.slice(0, 8)}-${index + 1}`, picked.file.name),
    }));
    const leftover: Leftover = {
      machineId: this.machineId,
      jobId,
      profile,
      sizes: Object.fromEntries(named.map(({ stored, file }) => [stored, file.size])),
      at: Date.now(),
    };
    rememberLeftover(leftover);
    try {
      await this.#store(upload, named, profile);
      upload.state.value = { phase: "asking" };
      const answer = await policy(this.machineId, "StartDownload", {
        timeout: TRANSFER_TIMEOUT_S,
        items: named.map(({ stored, path }) => ({
          sourceUri: stored,
          to: joinPath(folder, ...path),
        })),
        centralizedStorage: { profile },
        runContext: { from: "page", id: jobId },
        streamId: "",
        jobId,
      });
      const problem = problemOfAnswer(answer, "send");
      if (!problem) return;
      upload.state.value = { phase: "failed", problem };
    } catch (error) {
      const problem = problemOf(error);
      // A call that was lost on its way is not refused: the machine may be fetching the files.
      const undecided =
        upload.state.value.phase === "asking" && !String(problem.code).startsWith("HTTP 4");
      if (upload.cancel.signal.aborted) this.dismiss(upload);
      else upload.state.value = { phase: "failed", problem };
      if (undecided) return;
    }
    removeLeftover(leftover).catch(() => undefined);
  }

  async #store(upload: Upload, files: NamedFile[], profile: string): Promise<void> {
    const askBeforeLeaving = (event: BeforeUnloadEvent) => event.preventDefault();
    window.addEventListener("beforeunload", askBeforeLeaving);
    try {
      let before = 0;
      for (const { stored, file } of files) {
        await putStored(profile, stored, file, {
          onProgress: (bytes) => {
            upload.bytes.value = before + Math.min(bytes, file.size);
          },
          signal: upload.cancel.signal,
        });
        before += file.size;
        upload.bytes.value = before;
      }
    } finally {
      window.removeEventListener("beforeunload", askBeforeLeaving);
    }
  }

  get #folderKey(): string {
    return `targetFolder:${this.machineId}`;
  }
}

export const sendingOf = perMachine((machineId) => new Sending(machineId));
