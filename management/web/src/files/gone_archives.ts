import { signal } from "@preact/signals";
import { deleteStored, storedNames } from "../api/server";
import type { Job } from "../live/jobs_feed";
import { type StoredArchive, storedArchive } from "./stored_archive";

/** Uploads whose archive has been here and is deleted. */
const gone = signal<ReadonlySet<Job["id"]>>(new Set());

export function isGone(upload: Job): boolean {
  return gone.value.has(upload.id);
}

/** Finds out which archives of ended jobs, newest first, are still here. What can't be found out counts as here. */
export async function findGoneArchives(jobs: readonly Job[]): Promise<void> {
  const archives = jobs.map(({ id, end }) => ({ id, archive: storedArchive(end) }));
  const profiles = new Set(archives.map(({ archive }) => archive?.profile ?? ""));
  const found: Job["id"][] = [];
  for (const profile of profiles) {
    const names = profile && (await storedNames(profile).catch(() => undefined));
    if (!names) continue;
    for (const { id, archive } of archives) {
      if (archive?.profile !== profile) continue;
      // A name that was free again may have been given to a later archive: only that one is here.
      if (!names.delete(archive.name)) found.push(id);
    }
  }
  gone.value = new Set([...gone.value, ...found]);
}

export async function deleteArchive(upload: Job, archive: StoredArchive): Promise<void> {
  await deleteStored(archive.profile, archive.name);
  gone.value = new Set([...gone.value, upload.id]);
}
