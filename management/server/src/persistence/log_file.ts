import { stat } from "node:fs/promises";
import { RotatingFile } from "./rotating_file.ts";

const MAX_BYTES = 10 * 1024 * 1024;
const MAX_FILES = 5;

/** The server's own log in files of a bounded size and number. */
export class LogFile {
  readonly #file: RotatingFile;

  private constructor(file: RotatingFile) {
    this.#file = file;
  }

  /** Rejects when the file cannot be opened for writing. */
  static async open(path: string): Promise<LogFile> {
    const begun = await stat(path).catch(() => ({ mtime: new Date() }));
    const file = await RotatingFile.open({
      path,
      maxBytes: MAX_BYTES,
      maxFiles: MAX_FILES,
      label: labelOf(begun.mtime),
      durable: false,
      // There is nowhere else to say it.
      onError: (error) => console.error("The log could not be written:", error),
    });
    return new LogFile(file);
  }

  /** Takes one line with its end. */
  write(line: string): void {
    this.#file.append(line.trimEnd(), labelOf(new Date()));
  }

  close(): Promise<void> {
    return this.#file.close();
  }
}

/** "20261123T083000000Z" */
function labelOf(time: Date): string {
  return time.toISOString().replaceAll(/[-:.]/g, "");
}
