import { join } from "node:path";
import { notFound } from "../errors.ts";
import { Profile, type ProfileOptions } from "./profile.ts";

/** The profiles of files that this server holds, each in a folder of its own. */
export class Storage {
  readonly #profiles: Map<string, Profile>;

  constructor(dir: string, profiles: ProfileOptions[]) {
    this.#profiles = new Map(
      profiles.map((options) => [options.name, new Profile(join(dir, options.name), options)]),
    );
  }

  get profiles(): ProfileOptions[] {
    return [...this.#profiles.values()].map(({ name, maxSize }) => ({ name, maxSize }));
  }

  /** Throws ApiError not_found. */
  get(name: string): Profile {
    const profile = this.#profiles.get(name);
    if (!profile) throw notFound("profile");
    return profile;
  }
}
