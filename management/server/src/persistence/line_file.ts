import { appendFile, rename, writeFile } from "node:fs/promises";

/**
 * A file to which lines are appended in order. Writing is asynchronous; `flush` waits for what was appended so far. What could
 * not be written is told to `onError` and then missing, until the whole is replaced.
 */
export class LineFile {
  readonly #path: string;
  readonly #onError: (error: unknown) => void;
  #lines: string[] = [];
  #replacement: string[] | undefined;
  #writing: Promise<void> | undefined;
  #whole = true;

  constructor(path: string, onError: (error: unknown) => void) {
    this.#path = path;
    this.#onError = onError;
  }

  append(line: string): void {
    this.#lines.push(line);
    this.#writing ??= this.#writeAll();
  }

  /** Replaces the content as a whole; what is appended later follows it. */
  replace(lines: string[]): void {
    this.#replacement = lines;
    this.#lines = [];
    this.#writing ??= this.#writeAll();
  }

  /** Whether the file holds everything that it should. */
  async flush(): Promise<boolean> {
    await this.#writing;
    return this.#whole;
  }

  async #writeAll(): Promise<void> {
    await Promise.resolve();
    while (this.#replacement || this.#lines.length > 0) {
      const replacement = this.#replacement;
      const lines = this.#lines;
      this.#replacement = undefined;
      this.#lines = [];
      try {
        if (replacement) {
          const temporary = `${this.#path}.new`;
          await writeFile(temporary, toText(replacement), { mode: 0o600, flush: true });
          await rename(temporary, this.#path);
          this.#whole = true;
        }
        if (lines.length > 0) await appendFile(this.#path, toText(lines), { mode: 0o600 });
      } catch (error) {
        this.#whole = false;
        this.#onError(error);
      }
    }
    this.#writing = undefined;
  }
}

function toText(lines: string[]): string {
  return lines.map((line) => `${line}\n`).join("");
}
