import { existsSync } from "node:fs";
import { type FileHandle, open, readdir, rename, rm } from "node:fs/promises";
import { basename, dirname, extname, join } from "node:path";

export interface RotatingFileOptions {
  /** The file that is written. Older ones stand beside it: of "audit.log" they are "audit-LABEL.log". */
  path: string;
  /** A file is set aside and a new one begun before it gets larger; a single line may be. */
  maxBytes: number;
  /** How many older ones are kept. */
  maxFiles: number;
  /** The label of what the file holds already. */
  label: string;
  /** Whether what was written survives a loss of power. */
  durable: boolean;
  onError(error: unknown): void;
}

/** What waits for a disk that fails; lines beyond that are missing. */
const MAX_BACKLOG = 16 * 1024 * 1024;
const RETRY_MS = 5_000;

/**
 * A file to which lines are appended in order, and which is set aside by its name once it is full: whenever the process ends, each
 * line stands in one of the files, once. What could not be written is told to `onError`, kept, and tried again.
 */
export class RotatingFile {
  readonly #options: RotatingFileOptions;
  #handle: FileHandle;
  #size: number;
  #label: string;
  /** The file may end within a line. */
  #torn: boolean;
  readonly #lines: Array<{ text: string; label: string }> = [];
  #backlog = 0;
  #writing: Promise<void> | undefined;
  #retry: NodeJS.Timeout | undefined;

  private constructor(options: RotatingFileOptions, handle: FileHandle, size: number) {
    this.#options = options;
    this.#handle = handle;
    this.#size = size;
    this.#label = options.label;
    this.#torn = false;
  }

  /** Rejects when the file cannot be opened for writing. */
  static async open(options: RotatingFileOptions): Promise<RotatingFile> {
    const handle = await openForAppending(options.path);
    const { size } = await handle.stat();
    const file = new RotatingFile(options, handle, size);
    const last = Buffer.alloc(1);
    if (size > 0) await handle.read(last, 0, 1, size - 1);
    file.#torn = size > 0 && last[0] !== 0x0a;
    return file;
  }

  /** The paths of older files of this one, newest first, with their labels. */
  static async older(path: string): Promise<Array<{ path: string; label: string }>> {
    const extension = extname(path);
    const start = `${basename(path, extension)}-`;
    const names = await readdir(dirname(path));
    return names
      .filter((name) => name.startsWith(start) && name.endsWith(extension))
      .map((name) => ({
        path: join(dirname(path), name),
        label: name.slice(start.length, name.length - extension.length),
      }))
      .filter(({ label }) => /^\d[\dTZ]*$/.test(label))
      .sort((a, b) => (a.label < b.label ? 1 : -1));
  }

  /** `label` names the file if the line is its first one; labels rise, as texts. They are digits, "T" and "Z". */
  append(text: string, label: string): void {
    if (this.#backlog > MAX_BACKLOG) return;
    this.#lines.push({ text, label });
    this.#backlog += text.length;
    if (!this.#retry) this.#writing ??= this.#writeAll();
  }

  /** Waits until all is written that can be. */
  async flush(): Promise<void> {
    clearTimeout(this.#retry);
    this.#retry = undefined;
    await this.#writing;
    if (this.#lines.length === 0) return;
    this.#writing ??= this.#writeAll();
    await this.#writing;
  }

  async close(): Promise<void> {
    await this.flush();
    clearTimeout(this.#retry);
    await this.#handle.sync().catch(this.#options.onError);
    await this.#handle.close();
  }

  async #writeAll(): Promise<void> {
    await Promise.resolve();
    try {
      while (this.#lines.length > 0) {
        if (this.#isFull()) await this.#setAside();
        await this.#writeSome();
      }
    } catch (error) {
      this.#options.onError(error);
      this.#retry = setTimeout(() => {
        this.#retry = undefined;
        this.#writing ??= this.#writeAll();
      }, RETRY_MS).unref();
    }
    this.#writing = undefined;
  }

  #isFull(): boolean {
    const next = Buffer.byteLength(this.#lines[0]?.text ?? "") + 1;
    return this.#size > 0 && this.#size + next > this.#options.maxBytes;
  }

  /** Appends what fits into the file, at least one line; all of it or nothing. */
  async #writeSome(): Promise<void> {
    let text = this.#torn ? "\n" : "";
    let count = 0;
    let room = this.#options.maxBytes - this.#size;
    for (const line of this.#lines) {
      const bytes = Buffer.byteLength(line.text) + 1;
      if (count > 0 && bytes > room) break;
      text += `${line.text}\n`;
      room -= bytes;
      count++;
    }
    try {
      await this.#handle.appendFile(text);
      if (this.#options.durable) await this.#handle.datasync();
    } catch (error) {
      // What came out of it is taken back: the lines will be written again.
      await this.#handle.truncate(this.#size).catch(() => {
        this.#torn = true;
      });
      throw error;
    }
    if (this.#size === 0) this.#label = this.#lines[0]?.label ?? this.#label;
    this.#torn = false;
    this.#size += Buffer.byteLength(text);
    for (const line of this.#lines.splice(0, count)) this.#backlog -= line.text.length;
  }

  async #setAside(): Promise<void> {
    const { path } = this.#options;
    const extension = extname(path);
    let label = this.#label;
    const aside = () => `${path.slice(0, path.length - extension.length)}-${label}${extension}`;
    while (existsSync(aside())) label += "0"; // Nothing that is there is ever written over.
    await this.#handle.sync();
    await rename(path, aside()).catch((error) => {
      if (error.code !== "ENOENT") throw error; // It was set aside before, by us or by somebody else.
    });
    const next = await openForAppending(path);
    await this.#handle.close();
    this.#handle = next;
    this.#size = (await next.stat()).size;
    const older = await RotatingFile.older(path);
    for (const { path } of older.slice(this.#options.maxFiles)) {
      await rm(path).catch(this.#options.onError);
    }
  }
}

// Readable too: to see how it ends.
function openForAppending(path: string): Promise<FileHandle> {
  return open(path, "a+", 0o600);
}
