import { readFileSync } from "node:fs";
import { setTimeout as sleep } from "node:timers/promises";
import { z } from "zod";
import type { AgentEvent } from "../agent/agent_messages.ts";
import { LineFile } from "../persistence/line_file.ts";
import { membersOf } from "../raw_json.ts";

const keptEvent = z.object({
  id: z.int().positive(),
  at: z.string(),
  seq: z.int().nonnegative(),
  name: z.string(),
  store: z.string().optional(),
  payload: z.unknown(),
});
const keptStores = z.object({ stores: z.array(z.tuple([z.string(), z.int().positive()])) });

/** An event as it is kept; `payload` is JSON text. */
export type EventRecord = Omit<z.infer<typeof keptEvent>, "payload"> & { payload: string };

const MAX_EVENTS = 10_000;
const MAX_BYTES = 16 * 1024 * 1024;
/** A machine has one event store, and a new one when that was lost. */
const MAX_STORES = 16;
const RETRY_MS = 5_000;

/**
 * What happened on one machine, newest last: in memory within bounds, and in a file so that a restart loses nothing and
 * goes on counting. The ids are this log's own and rise by one.
 *
 * Events of a machine's event store are known by their number there. It stands in the event's own line, so that a crash leaves
 * both or neither; the file begins with the last numbers of what it holds no longer.
 */
export class EventLog {
  readonly #file: LineFile;
  readonly #retryMs: number;
  readonly #followers = new Set<() => void>();
  readonly #events: EventRecord[] = [];
  /** The last number of each store, and how far that is in the file for certain. */
  readonly #stores = new Map<string, number>();
  #written = new Map<string, number>();
  #bytes = 0;
  #lastId = 0;
  #forgotten = 0;
  #trying: Promise<void> | undefined;

  /** `retryMs` is how long a disk that failed is left alone. */
  constructor(path: string, onError: (error: unknown) => void, retryMs = RETRY_MS) {
    this.#retryMs = retryMs;
    const onWriteError = (error: unknown) => {
      onError(error);
      this.#tryAgain();
    };
    this.#file = new LineFile(path, onWriteError, { gapless: true });
    this.#load(path);
    this.#written = new Map(this.#stores);
  }

  /** Takes an event in. With the store that it comes from, only if it is newer than what came from there: else undefined. */
  append({ seq, name, payload }: AgentEvent, store?: string): EventRecord | undefined {
    if (store !== undefined && seq <= (this.#stores.get(store) ?? 0)) return undefined;
    const at = new Date().toISOString();
    const event = { id: this.#lastId + 1, at, seq, name, store, payload };
    this.#keep(event);
    this.#file.append(toLine(event));
    // The file may hold as much again as memory does before it is written anew; so may what waits for it.
    const outgrown = this.#forgotten > Math.max(1000, this.#events.length);
    if (outgrown || this.#file.backlog > MAX_BYTES) this.#rewrite();
    for (const follower of this.#followers) follower();
    return event;
  }

  get lastId(): number {
    return this.#lastId;
  }

  /** The number of the last event of that store which is certain to survive this process; 0 for none. */
  lastWritten(store: string): number {
    return this.#written.get(store) ?? 0;
  }

  /** Resolves when what was appended so far is in the file; tries until it is. */
  async written(): Promise<void> {
    const stores = new Map(this.#stores);
    while (!(await this.#file.flush())) await this.#tryAgain();
    const written = [...stores].map(
      ([store, seq]) => [store, Math.max(seq, this.lastWritten(store))] as const,
    );
    this.#written = new Map(written);
  }

  /** What is still known of the events after that id. */
  since(id: number): EventRecord[] {
    // From the end, where those who follow are.
    return this.#events.slice(this.#events.findLastIndex((event) => event.id <= id) + 1);
  }

  /** Calls `follower` after each new event; the result ends that. */
  follow(follower: () => void): () => void {
    this.#followers.add(follower);
    return () => this.#followers.delete(follower);
  }

  async flush(): Promise<void> {
    await this.#file.flush();
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
      const kept = parseLine(line);
      if (kept && "stores" in kept) for (const [store, seq] of kept.stores) this.#count(store, seq);
      else if (kept && kept.id > this.#lastId) this.#keep(kept);
      else damaged = true;
    }
    if (damaged || this.#forgotten > 0) this.#rewrite();
  }

  #keep(event: EventRecord): void {
    this.#events.push(event);
    this.#bytes += sizeOf(event);
    this.#lastId = event.id;
    if (event.store !== undefined) this.#count(event.store, event.seq);
    while (this.#events.length > MAX_EVENTS || this.#bytes > MAX_BYTES) {
      const oldest = this.#events.shift();
      this.#bytes -= oldest ? sizeOf(oldest) : 0;
      this.#forgotten++;
    }
  }

  #count(store: string, seq: number): void {
    this.#stores.delete(store); // The newest stands last.
    this.#stores.set(store, seq);
    const [oldest] = this.#stores.keys();
    if (this.#stores.size > MAX_STORES && oldest !== undefined) this.#stores.delete(oldest);
  }

  /** Writes the whole anew once the disk has been left alone for a while; many who ask meanwhile wait for the same. */
  #tryAgain(): Promise<void> {
    this.#trying ??= sleep(this.#retryMs, undefined, { ref: false }).then(() => {
      this.#trying = undefined;
      this.#rewrite();
    });
    return this.#trying;
  }

  #rewrite(): void {
    this.#forgotten = 0;
    const stores = this.#stores.size > 0 ? [JSON.stringify({ stores: [...this.#stores] })] : [];
    this.#file.replace([...stores, ...this.#events.map(toLine)]);
  }
}

function sizeOf({ name, payload }: EventRecord): number {
  return payload.length + name.length + 128;
}

function toLine({ payload, ...event }: EventRecord): string {
  return `${JSON.stringify(event).slice(0, -1)},"payload":${payload}}`;
}

function parseLine(line: string): EventRecord | z.infer<typeof keptStores> | undefined {
  try {
    const kept = z.union([keptEvent, keptStores]).parse(JSON.parse(line));
    if ("stores" in kept) return kept;
    return { ...kept, payload: membersOf(line).get("payload") ?? "null" };
  } catch {
    return undefined;
  }
}
