import { type FileHandle, open } from "node:fs/promises";
import { linesBackwards } from "../persistence/lines_backwards.ts";
import { RotatingFile } from "../persistence/rotating_file.ts";
import { type AuditAction, type AuditEntry, auditEntry } from "./audit_entry.ts";

export interface AuditQuery {
  limit: number;
  /** Only entries with a lower number. */
  before?: number | undefined;
  machine?: string | undefined;
  who?: string | undefined;
  /** Any of these; none means all. */
  actions?: readonly AuditAction[];
  /** Only what failed. */
  failed?: boolean;
  /** Ends the search early. */
  signal?: AbortSignal;
}

export interface AuditPage {
  /** Newest first. */
  entries: AuditEntry[];
  /** What "before" has to be for the older ones; null where there are none. */
  next: number | null;
}

/** Looks from the newest entry back: in the file that is written, then in those that were set aside. */
export async function readAudit(path: string, query: AuditQuery): Promise<AuditPage> {
  const mayBeWanted = lineFilter(query);
  const entries: AuditEntry[] = [];
  // A line that stands twice, as where a file was set aside while it was read, counts once.
  let below = query.before ?? Number.POSITIVE_INFINITY;
  for await (const lines of portionsOf(path, below)) {
    if (query.signal?.aborted) break;
    for (const line of lines) {
      const seq = seqOf(line);
      // Most lines need not be understood to know that they are not wanted.
      if (!(seq < below) || !mayBeWanted(line)) continue;
      const entry = parseEntry(line);
      if (!entry) continue;
      below = seq;
      if (!isWanted(entry, query)) continue;
      if (entries.length === query.limit) return { entries, next: entries.at(-1)?.seq ?? null };
      entries.push(entry);
    }
  }
  return { entries, next: null };
}

/** The number of the first entry in one file; undefined where nothing in it can be read. */
export async function firstIn(path: string): Promise<number | undefined> {
  const file = await openIfThere(path);
  if (!file) return undefined;
  let rest = "";
  // The stream closes the file, however this ends.
  for await (const piece of file.createReadStream({ encoding: "utf8" })) {
    const lines = (rest + piece).split("\n");
    rest = lines.pop() ?? "";
    for (const line of lines) {
      const entry = parseEntry(line);
      if (entry) return entry.seq;
    }
  }
  return undefined;
}

/** All lines, last first, of the files that may hold one below that number. */
async function* portionsOf(path: string, before: number): AsyncGenerator<string[]> {
  // First the file that is written, then the list of the others: what is set aside in between is in both, never in none.
  const current = await openIfThere(path);
  const older = await RotatingFile.older(path);
  yield* portionsIn(current);
  for (const { path, label } of older) {
    if (Number(label) < before) yield* portionsIn(await openIfThere(path));
  }
}

async function* portionsIn(file: FileHandle | undefined): AsyncGenerator<string[]> {
  try {
    if (file) yield* linesBackwards(file);
  } finally {
    await file?.close();
  }
}

/** Undefined for a file that is gone, as the oldest one may be by now. */
async function openIfThere(path: string): Promise<FileHandle | undefined> {
  try {
    return await open(path);
  } catch (error) {
    if ((error as NodeJS.ErrnoException).code === "ENOENT") return undefined;
    throw error;
  }
}

function seqOf(line: string): number {
  return Number(/^\{"seq":(\d+),/.exec(line)?.[1] ?? Number.NaN);
}

function parseEntry(line: string): AuditEntry | undefined {
  try {
    return auditEntry.parse(JSON.parse(line));
  } catch {
    return undefined;
  }
}

/** Tells lines that cannot be of an entry that is wanted, by what would stand in them. */
function lineFilter({ machine, who, actions = [], failed }: AuditQuery): (line: string) => boolean {
  const texts = failed ? ['"ok":false'] : [];
  if (machine !== undefined) texts.push(`"machine":${JSON.stringify(machine)}`);
  if (who !== undefined) texts.push(`"who":${JSON.stringify(who)}`);
  const any = actions.map((action) => `"action":"${action}"`);
  return (line) =>
    texts.every((text) => line.includes(text)) &&
    (any.length === 0 || any.some((text) => line.includes(text)));
}

function isWanted(entry: AuditEntry, { machine, who, actions = [], failed }: AuditQuery): boolean {
  if (machine !== undefined && entry.machine !== machine) return false;
  if (who !== undefined && entry.who !== who) return false;
  if (actions.length > 0 && !actions.includes(entry.action)) return false;
  return !failed || entry.result?.ok === false;
}
