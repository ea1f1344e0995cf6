import { readFileSync } from "node:fs";
import { z } from "zod";
import { LineFile } from "../persistence/line_file.ts";

const record = z.object({
  id: z.int().positive(),
  at: z.string(),
  seq: z.int().nonnegative(),
  name: z.string(),
  payload: z.unknown(),
});

export type EventRecord = z.infer<typeof record>;

const MAX_EVENTS = 10_000;
const MAX_BYTES = 16 * 1024 * 1024;

/**
 * What happened on one machine, newest last: in memory within bounds, and in a file so that a restart loses nothing and
 * goes on counting. The ids are this log's own and rise by one.
 */
export class EventLog {
  readonly #file: LineFile;
  readonly #followers = new Set<() => void>();
  readonly #events: Array<{ record: EventRecord; line: string }> = [];
  #bytes = 0;
  #lastId = 0;
  #forgotten = 0;

  constructor(path: string, onError: (error: unknown) => void) {
    this.#file = new LineFile(path, onError);
    this.#load(path);
  }

  append(event: Pick<EventRecord, "seq" | "name" | "payload">): void {
    const { seq, name, payload } = event;
    const entry = { id: this.#lastId + 1, at: new Date().toISOString(), seq, name, payload };
    const line = JSON.stringify(entry);
    this.#keep(entry, line);
    this.#file.append(line);
    // The file may hold as much again as memory does before it is written anew.
    if (this.#forgotten > Math.max(1000, this.#events.length)) this.#rewrite();
    for (const follower of this.#followers) follower();
  }

  get lastId(): number {
    return this.#lastId;
  }

  /** What is still known of the events after that id. */
  since(id: number): EventRecord[] {
    const first = this.#events.findIndex((event) => event.record.id > id);
    return first < 0 ? [] : this.#events.slice(first).map((event) => event.record);
  }

  /** Calls `follower` after each new event; the result ends that. */
  follow(follower: () => void): () => void {
    this.#followers.add(follower);
    return () => this.#followers.delete(follower);
  }

  flush(): Promise<void> {
    return this.#file.flush();
  }

  #load(path: string): void {
    let text: string;
    try {
      text = readFileSync(path, "utf8");
    } catch (error) {
      if ((error as NodeJS.ErrnoException).code === "ENOENT") return;
      throw error;
    }
    const lines = text.split("\n");
    // A crash in mid-write leaves part of a line at the end.
    let damaged = lines.pop() !== "";
    for (const line of lines) {
      const event = parseRecord(line);
      if (event && event.id > this.#lastId) this.#keep(event, line);
      else damaged = true;
    }
    if (damaged || this.#forgotten > 0) this.#rewrite();
  }

  #keep(entry: EventRecord, line: string): void {
    this.#events.push({ record: entry, line });
    this.#bytes += line.length;
    this.#lastId = entry.id;
    while (this.#events.length > MAX_EVENTS || this.#bytes > MAX_BYTES) {
      this.#bytes -= this.#events.shift()?.line.length ?? 0;
      this.#forgotten++;
    }
  }

  #rewrite(): void {
    this.#forgotten = 0;
    this.#file.replace(this.#events.map((event) => event.line));
  }
}

function parseRecord(line: string): EventRecord | undefined {
  try {
    return record.parse(JSON.parse(line));
  } catch {
    return undefined;
  }
}
