import { randomUUID } from "node:crypto";
import { constants, createWriteStream, mkdirSync, readdirSync, rmSync } from "node:fs";
import { type FileHandle, link, open, readdir, rename, rm, stat, unlink } from "node:fs/promises";
import { join } from "node:path";
import { pipeline } from "node:stream/promises";
import { ApiError, badRequest, notFound, tooLarge } from "../errors.ts";
import { checkName, numbered } from "./names.ts";

/** Of files that are still on their way in; no stored file can be called so. */
const PARTIAL = ".partial-";
const BUFFER_BYTES = 1024 * 1024;
const MAX_NUMBER = 10_000;
// A link or a pipe that somebody put into the folder is no stored file.
const READ_PLAIN = constants.O_RDONLY | (constants.O_NOFOLLOW ?? 0) | (constants.O_NONBLOCK ?? 0);

export interface ProfileOptions {
  name: string;
  /** The largest file, in bytes. */
  maxSize: number;
}

export interface StoredFile {
  name: string;
  size: number;
}

export interface Incoming {
  /** May throw; what has come by then is removed. */
  chunks: AsyncIterable<Buffer>;
  /** Whether a file of that name gives way; else the new one gets another name. */
  replace: boolean;
  /** Called with the length of each piece that was taken. */
  onBytes(bytes: number): void;
}

/** A folder of files that machines fetch from and send to. A file is there under its name once it is whole, never before. */
export class Profile {
  readonly name: string;
  readonly maxSize: number;
  readonly #dir: string;

  /** Makes the folder, and removes what a crash has left half in it. */
  constructor(dir: string, { name, maxSize }: ProfileOptions) {
    this.name = name;
    this.maxSize = maxSize;
    this.#dir = dir;
    mkdirSync(dir, { recursive: true, mode: 0o700 });
    for (const entry of readdirSync(dir, { withFileTypes: true })) {
      if (entry.isFile() && entry.name.startsWith(PARTIAL)) rmSync(join(dir, entry.name));
    }
  }

  /** By name. What somebody put into the folder under a name that this storage would refuse is left out. */
  async list(): Promise<Array<StoredFile & { modified: string }>> {
    const entries = await readdir(this.#dir, { withFileTypes: true });
    const names = entries.filter((entry) => entry.isFile() && isStorable(entry.name));
    const files = await Promise.all(
      names.map(async ({ name }) => {
        const found = await stat(join(this.#dir, name)).catch(() => undefined);
        return found && { name, size: found.size, modified: found.mtime.toISOString() };
      }),
    );
    return files.filter((file) => file !== undefined).sort((a, b) => (a.name < b.name ? -1 : 1));
  }

  /** Opens a file for reading; the caller closes it. Throws ApiError not_found, bad_name. */
  async open(name: string): Promise<FileHandle> {
    const handle = await open(this.#pathOf(name), READ_PLAIN).catch(refuseMissing);
    if ((await handle.stat()).isFile()) return handle;
    await handle.close();
    throw notFound("file");
  }

  /**
   * Takes a file in; it survives a loss of power from then on. Throws ApiError bad_name, too_large, no_space, name_taken, and what
   * `chunks` throws; then nothing is left of it.
   */
  async store(name: string, incoming: Incoming): Promise<StoredFile> {
    const checked = checkName(name);
    const partial = join(this.#dir, `${PARTIAL}${randomUUID()}`);
    try {
      const size = await this.#write(partial, incoming);
      const settled = incoming.replace
        ? await this.#replace(partial, checked)
        : await this.#settle(partial, checked);
      await syncFolder(this.#dir);
      return { name: settled, size };
    } catch (error) {
      await rm(partial, { force: true });
      throw toRefusal(error);
    }
  }

  /** Throws ApiError not_found, bad_name. */
  async remove(name: string): Promise<void> {
    await unlink(this.#pathOf(name)).catch(refuseMissing);
  }

  async #write(path: string, { chunks, onBytes }: Incoming): Promise<number> {
    const { maxSize } = this;
    let size = 0;
    const counted = async function* () {
      for await (const chunk of chunks) {
        size += chunk.length;
        if (size > maxSize) throw tooLarge();
        onBytes(chunk.length);
        yield chunk;
      }
    };
    const file = createWriteStream(path, {
      flags: "wx",
      mode: 0o600,
      highWaterMark: BUFFER_BYTES,
      flush: true,
    });
    await pipeline(counted, file);
    return size;
  }

  /** Gives a whole file its name, in place of the file that has it. */
  async #replace(partial: string, name: string): Promise<string> {
    await rename(partial, this.#pathOf(name)).catch((error: NodeJS.ErrnoException) => {
      if (error.code === "EISDIR") throw nameTaken("There is a folder of that name.");
      throw error;
    });
    return name;
  }

  /** Gives a whole file its name, or the next one that is free: whoever links first has it. */
  async #settle(partial: string, name: string): Promise<string> {
    for (let number = 1; number <= MAX_NUMBER; number++) {
      const candidate = number === 1 ? name : numbered(name, number);
      try {
        await link(partial, this.#pathOf(candidate));
      } catch (error) {
        if ((error as NodeJS.ErrnoException).code === "EEXIST") continue;
        throw error;
      }
      await unlink(partial);
      return candidate;
    }
    throw nameTaken("There are too many files of that name.");
  }

  #pathOf(name: string): string {
    return join(this.#dir, checkName(name));
  }
}

function isStorable(name: string): boolean {
  try {
    return checkName(name) === name;
  } catch {
    return false;
  }
}

/** Makes what was renamed in a folder certain, where the system can: some know no such thing for folders. */
async function syncFolder(path: string): Promise<void> {
  const folder = await open(path, constants.O_RDONLY).catch(() => undefined);
  await folder?.sync().catch(() => {});
  await folder?.close();
}

function nameTaken(message: string): ApiError {
  return new ApiError(409, "name_taken", message);
}

function refuseMissing(error: NodeJS.ErrnoException): never {
  if (["ENOENT", "ELOOP", "EISDIR", "EPERM", "ENXIO"].includes(error.code ?? "")) {
    throw notFound("file");
  }
  throw toRefusal(error);
}

function toRefusal(error: unknown): unknown {
  switch ((error as NodeJS.ErrnoException).code) {
    case "ENOSPC":
    case "EDQUOT":
      return new ApiError(507, "no_space", "The server has no space left for this file.");
    case "ECONNRESET":
      return badRequest("The transfer broke off.");
  }
  return error;
}
