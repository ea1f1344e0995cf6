import { computed, signal } from "@preact/signals";
import { type Problem, problemOf } from "../api/problem";
import { policy } from "../api/server";
import { perMachine } from "../live/per_machine";
import { newId } from "../new_id";
import { nameOf } from "../words";
import { problemOfAnswer } from "../words_of_codes";
import { archiveName } from "./names";
import { CheckedPath } from "./path_check";
import { currentProfile } from "./profiles";
import { TRANSFER_TIMEOUT_S } from "./sending";

/** The paths that are to be fetched from one machine as one archive, kept while other views are shown. */
export class Fetching {
  readonly machineId: string;
  readonly paths = signal<readonly CheckedPath[]>([]);
  /** Empty for a name by machine and time. */
  readonly name = signal("");
  readonly password = signal("");
  readonly starting = signal(false);
  readonly problem = signal<Problem | undefined>(undefined);
  readonly accepted = computed(() =>
    this.paths.value.filter(({ check }) => check.value.phase === "good"),
  );
  readonly asking = computed(() =>
    this.paths.value.some(({ check }) => check.value.phase === "asking"),
  );

  constructor(machineId: string) {
    this.machineId = machineId;
  }

  /** Adds a path, one per line, and asks the machine what is there. */
  add(lines: string): void {
    const known = new Set(this.paths.value.map(({ path }) => path.value.toLowerCase()));
    for (const path of lines.split(/\r?\n/).map(unquoted)) {
      if (!path || known.has(path.toLowerCase())) continue;
      known.add(path.toLowerCase());
      const added = new CheckedPath(path);
      this.paths.value = [...this.paths.value, added];
      this.check(added);
    }
  }

  check(path: CheckedPath): void {
    path.ask(this.machineId, "fetch", currentProfile()?.name ?? "");
  }

  remove(path: CheckedPath): void {
    this.paths.value = this.paths.value.filter((other) => other !== path);
  }

  /** Starts with the paths that the machine accepted. */
  async start(): Promise<void> {
    const profile = currentProfile()?.name;
    const accepted = this.accepted.value;
    if (!profile || this.starting.value || accepted.length === 0) return;
    this.starting.value = true;
    this.problem.value = undefined;
    const jobId = newId();
    try {
      const answer = await policy(this.machineId, "StartUploadArchive", {
        timeout: TRANSFER_TIMEOUT_S,
        name: this.name.value.trim() || archiveName(nameOf(this.machineId), new Date()),
        password: this.password.value,
        streamId: "",
        items: accepted.map(({ path }) => ({ pattern: path.value })),
        centralizedStorage: { profile, postItems: [] },
        runContext: { from: "page", id: jobId },
        jobId,
      });
      this.problem.value = problemOfAnswer(answer, "fetch");
      if (this.problem.value) return;
      this.paths.value = this.paths.value.filter((path) => !accepted.includes(path));
      this.name.value = "";
      this.password.value = "";
    } catch (error) {
      this.problem.value = problemOf(error);
    } finally {
      this.starting.value = false;
    }
  }
}

/** A path as Explorer copies it stands in quotation marks. */
function unquoted(line: string): string {
  return line.trim().replace(/^"(.*)"$/, "$1");
}

export const fetchingOf = perMachine((machineId) => new Fetching(machineId));
