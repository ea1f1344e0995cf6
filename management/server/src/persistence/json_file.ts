import { readFileSync } from "node:fs";
import { rename, writeFile } from "node:fs/promises";
import type { z } from "zod";

/**
 * A small value kept in a file, replaced as a whole: a reader, also after a crash, sees the old value or the new one.
 * Writing is asynchronous and coalesced; `flush` waits for what was set so far. What could not be written is tried again with the
 * next change and with `flush`.
 */
export class JsonFile<T> {
  readonly #path: string;
  readonly #schema: z.ZodType<T>;
  readonly #onError: (error: unknown) => void;
  #next: (() => T) | undefined;
  #failed: (() => T) | undefined;
  #written = "";
  #writing: Promise<void> | undefined;

  constructor(path: string, schema: z.ZodType<T>, onError: (error: unknown) => void) {
    this.#path = path;
    this.#schema = schema;
    this.#onError = onError;
  }

  /** The kept value, undefined when there is none yet. Throws when the file is damaged: it is never overwritten unseen. */
  read(): T | undefined {
    let text: string;
    try {
      text = readFileSync(this.#path, "utf8");
    } catch (error) {
      if ((error as NodeJS.ErrnoException).code === "ENOENT") return undefined;
      throw error;
    }
    try {
      return this.#schema.parse(JSON.parse(text));
    } catch (cause) {
      throw new Error(`${this.#path} is damaged; mend or remove it.`, { cause });
    }
  }

  /** `value` is asked for when its turn to be written has come. */
  write(value: () => T): void {
    this.#next = value;
    this.#writing ??= this.#writeAll();
  }

  async flush(): Promise<void> {
    if (this.#failed) this.write(this.#failed);
    await this.#writing;
  }

  async #writeAll(): Promise<void> {
    const temporary = `${this.#path}.new`;
    while (this.#next) {
      await Promise.resolve(); // Changes made in the same turn become one write.
      const value = this.#next;
      const text = JSON.stringify(value(), null, 1);
      this.#next = undefined;
      this.#failed = undefined;
      if (text === this.#written) continue;
      try {
        await writeFile(temporary, text, { mode: 0o600, flush: true });
        await rename(temporary, this.#path);
        this.#written = text;
      } catch (error) {
        this.#failed = value;
        this.#onError(error);
      }
    }
    this.#writing = undefined;
  }
}
