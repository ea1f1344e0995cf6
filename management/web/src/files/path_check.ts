import { type Signal, signal } from "@preact/signals";
import { integer } from "../api/json";
import { type Problem, problemOf } from "../api/problem";
import { rpc } from "../api/server";
import { problemOfCheck } from "../words_of_codes";

/** What the machine says of a path before anything is done to it. */
export type PathCheck =
  | { phase: "none" }
  | { phase: "asking"; since: number }
  | { phase: "good"; fileCount?: number; size?: number }
  | { phase: "bad"; problem: Problem };

/** Asks the machine whether files can be sent into a folder, or a path be fetched. Throws nothing. */
export async function checkPath(
  machineId: string,
  direction: "send" | "fetch",
  path: string,
  profile: string,
): Promise<PathCheck> {
  const method = direction === "send" ? "PrevalidateDownloadPath" : "PrevalidateUploadPath";
  try {
    const answer = await rpc(machineId, method, { path, againstProfile: profile });
    const problem = problemOfCheck(answer, direction === "send" ? "checkSend" : "checkFetch");
    if (problem) return { phase: "bad", problem };
    const fileCount = integer(answer.answer, "fileCount");
    const size = integer(answer.answer, "size");
    return {
      phase: "good",
      ...(fileCount !== undefined && { fileCount }),
      ...(size !== undefined && { size }),
    };
  } catch (error) {
    return { phase: "bad", problem: problemOf(error) };
  }
}

/** A path whose latest check counts, however late an earlier one is answered. */
export class CheckedPath {
  readonly path: Signal<string>;
  readonly check = signal<PathCheck>({ phase: "none" });
  #asked = 0;

  constructor(path: string) {
    this.path = signal(path);
  }

  change(path: string): void {
    if (path === this.path.value) return;
    this.path.value = path;
    this.forget();
  }

  /** Forgets what the machine said, or is about to say. */
  forget(): void {
    this.#asked++;
    this.check.value = { phase: "none" };
  }

  async ask(machineId: string, direction: "send" | "fetch", profile: string): Promise<PathCheck> {
    const number = ++this.#asked;
    this.check.value = { phase: "asking", since: Date.now() };
    const check = await checkPath(machineId, direction, this.path.value.trim(), profile);
    if (number === this.#asked) this.check.value = check;
    return check;
  }
}
