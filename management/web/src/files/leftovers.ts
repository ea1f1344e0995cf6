import { effect, signal, untracked } from "@preact/signals";
import { list, parse, text } from "../api/json";
import { deleteStored } from "../api/server";
import { isOver, type Job, jobsOf } from "../live/jobs_feed";

/** Files that this page has put into the storage for one job, to be removed once that is over. */
export interface Leftover {
  machineId: string;
  jobId: string;
  profile: string;
  /** Bytes by name in the storage. */
  sizes: Record<string, number>;
  at: number;
}

const KEY = "sentFiles";
// Where the server knows nothing of the job: the page went away before it asked for it, or it is forgotten long since.
const FORGOTTEN_MS = 24 * 60 * 60 * 1000;

const leftovers = signal(read());

export function rememberLeftover(leftover: Leftover): void {
  keep([...read(), leftover]);
}

export function sizesOf(jobId: string | null): Record<string, number> {
  return leftovers.value.find((leftover) => leftover.jobId === jobId)?.sizes ?? {};
}

/** Removes the files; what can't be removed now is tried again when the page is opened next. */
export async function removeLeftover(leftover: Leftover): Promise<void> {
  const names = Object.keys(leftover.sizes);
  await Promise.all(names.map((name) => deleteStored(leftover.profile, name)));
  keep(read().filter((other) => other.jobId !== leftover.jobId));
}

/** Follows the jobs of machines that have leftovers, and removes each once its job is over. */
export function watchLeftovers(): void {
  const held = new Map<string, () => void>();
  const tried = new Set<string>();
  window.addEventListener("storage", (event) => {
    if (event.key === KEY) leftovers.value = read();
  });
  effect(() => {
    const machines = new Set(leftovers.value.map((leftover) => leftover.machineId));
    untracked(() => {
      for (const id of machines) if (!held.has(id)) held.set(id, jobsOf(id).hold());
      for (const [id, release] of held) {
        if (machines.has(id)) continue;
        held.delete(id);
        release();
      }
    });
    for (const leftover of leftovers.value) {
      const feed = jobsOf(leftover.machineId);
      const job = feed.jobs.value.find((known) => jobIdOf(known) === leftover.jobId);
      const forgotten = feed.loaded.value && !job && Date.now() - leftover.at > FORGOTTEN_MS;
      if (!forgotten && !(job && isOver(job))) continue;
      if (tried.has(leftover.jobId)) continue;
      tried.add(leftover.jobId);
      removeLeftover(leftover).catch(() => undefined);
    }
  });
}

/** The identifier that the machine knows a file job by, also before it has answered. */
export function jobIdOf(job: Job): string {
  return job.jobId ?? text(job.input, "jobId");
}

// Other tabs of the page have leftovers too, and all are kept in one place.
function read(): Leftover[] {
  return list(parse(localStorage.getItem(KEY) ?? "")) as Leftover[];
}

function keep(next: Leftover[]): void {
  leftovers.value = next;
  localStorage.setItem(KEY, JSON.stringify(next));
}
