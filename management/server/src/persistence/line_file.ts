import { appendFile, rename, writeFile } from "node:fs/promises";

export interface LineFileOptions {
  /**
   * For a file that is worth nothing with a gap: once a line is missing no later one is written, until the whole is replaced, and
   * what is in the file survives a loss of power.
   */
  gapless?: boolean;
}

/**
 * A file to which lines are appended in order. Writing is asynchronous; `flush` waits for what was appended so far. What could
 * not be written is told to `onError` and then missing, until the whole is replaced.
 */
export class LineFile {
  readonly #path: string;
  readonly #onError: (error: unknown) => void;
  readonly #gapless: boolean;
  #lines: string[] = [];
  #backlog = 0;
  #replacement: string[] | undefined;
  #writing: Promise<void> | undefined;
  #whole = true;
  /** The file may end within a line. */
  #torn = false;

  constructor(
    path: string,
    onError: (error: unknown) => void,
    { gapless = false }: LineFileOptions = {},
  ) {
    this.#path = path;
    this.#onError = onError;
    this.#gapless = gapless;
  }

  /** The characters that wait because the disk is slower than what comes. */
  get backlog(): number {
    return this.#backlog;
  }

  append(line: string): void {
    this.#lines.push(line);
    this.#backlog += line.length;
    this.#writing ??= this.#writeAll();
  }

  /** Replaces the content as a whole; what is appended later follows it. */
  replace(lines: string[]): void {
    this.#replacement = lines;
    this.#lines = [];
    this.#backlog = 0;
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
      this.#backlog = 0;
      try {
        if (replacement) {
          const temporary = `${this.#path}.new`;
          await writeFile(temporary, toText(replacement), { mode: 0o600, flush: true });
          await rename(temporary, this.#path);
          this.#whole = true;
          this.#torn = false;
        }
        if (lines.length > 0 && (this.#whole || !this.#gapless)) await this.#append(lines);
      } catch (error) {
        this.#whole = false;
        this.#torn = true;
        this.#onError(error);
      }
    }
    this.#writing = undefined;
  }

  async #append(lines: string[]): Promise<void> {
    const text = (this.#torn ? "\n" : "") + toText(lines);
    await appendFile(this.#path, text, { mode: 0o600, flush: this.#gapless });
    this.#torn = false;
  }
}

function toText(lines: string[]): string {
  return lines.map((line) => `${line}\n`).join("");
}
