import { signal } from "@preact/signals";
import { list, text } from "../api/json";
import { type Problem, problemOf } from "../api/problem";
import { policy } from "../api/server";
import { currentProfile } from "../files/profiles";
import { TRANSFER_TIMEOUT_S } from "../files/sending";
import type { Job } from "../live/jobs_feed";
import { perMachine } from "../live/per_machine";
import { newId } from "../new_id";

const DEFAULT_TIMEOUT_S = 300;
const MAX_TIMEOUT_S = 4_000_000;

/** The command that is being written for one machine, kept while other views are shown. */
export class Running {
  readonly machineId: string;
  readonly commandLine = signal("");
  /** Empty for a temporary folder. */
  readonly workingDir = signal("");
  readonly timeout = signal(String(DEFAULT_TIMEOUT_S));
  /** Files to bring along, one per line. */
  readonly extras = signal("");
  readonly starting = signal(false);
  readonly problem = signal<Problem | undefined>(undefined);

  constructor(machineId: string) {
    this.machineId = machineId;
  }

  /** Takes the command of an earlier run. */
  reuse(job: Job): void {
    this.commandLine.value = text(job.input, "execute", "commandLine");
    this.workingDir.value = text(job.input, "execute", "workingDir");
    this.timeout.value = text(job.input, "execute", "timeout");
    const items = list(job.input, "startUploadArchive", "items");
    this.extras.value = items.map((item) => text(item, "pattern")).join("\n");
    this.problem.value = undefined;
  }

  async start(): Promise<void> {
    const profile = currentProfile()?.name;
    if (!profile || this.starting.value) return;
    this.problem.value = this.#inputProblem();
    if (this.problem.value) return;
    this.starting.value = true;
    try {
      // What the machine answers is told with the run, by the server's list.
      await policy(this.machineId, "StartProcess", this.#input(profile));
    } catch (error) {
      this.problem.value = problemOf(error);
    } finally {
      this.starting.value = false;
    }
  }

  #inputProblem(): Problem | undefined {
    if (!this.commandLine.value.trim()) return { text: "Write a command line first." };
    const timeout = Number(this.timeout.value);
    if (!Number.isInteger(timeout) || timeout < 1 || timeout > MAX_TIMEOUT_S) {
      return { text: "The time limit is a number of seconds, from 1 to 4,000,000." };
    }
    return undefined;
  }

  #input(profile: string): object {
    const id = newId();
    const runContext = { from: "page", id };
    const workingDir = this.workingDir.value.trim();
    return {
      execute: {
        commandLine: this.commandLine.value,
        timeout: Number(this.timeout.value),
        // In a folder that belongs to somebody, no file of theirs may be written over.
        outputPath: workingDir ? `output-${id.slice(0, 8)}.txt` : "output.txt",
        workingDir,
      },
      runContext,
      startUploadArchive: {
        timeout: TRANSFER_TIMEOUT_S,
        name: `run-${id.slice(0, 8)}.zip`,
        password: "",
        streamId: "",
        items: this.extras.value
          .split(/\r?\n/)
          .map((line) => line.trim())
          .filter(Boolean)
          .map((pattern) => ({ pattern })),
        centralizedStorage: { profile, postItems: [] },
        runContext,
      },
    };
  }
}

export const runningOf = perMachine((machineId) => new Running(machineId));
