import { signal } from "@preact/signals";
import { type Problem, problemOf } from "../api/problem";
import { type StorageProfile, storageProfiles } from "../api/server";

const DEFAULT = "default";

/** The storage profiles of this server; undefined until they are known. */
export const profiles = signal<StorageProfile[] | undefined>(undefined);
export const profilesProblem = signal<Problem | undefined>(undefined);
const chosen = signal(localStorage.getItem("profile") ?? DEFAULT);

/** The profile that files go through. */
export function currentProfile(): StorageProfile | undefined {
  return profiles.value?.find(({ name }) => name === chosen.value) ?? profiles.value?.[0];
}

export function chooseProfile(name: string): void {
  chosen.value = name;
  localStorage.setItem("profile", name);
}

export async function loadProfiles(): Promise<void> {
  try {
    profiles.value = await storageProfiles();
    profilesProblem.value = undefined;
  } catch (error) {
    profilesProblem.value = problemOf(error);
  }
}
