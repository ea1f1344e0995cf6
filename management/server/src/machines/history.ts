import { z } from "zod";
import type { CallReply } from "../agent/agent_messages.ts";
import { badAnswer, machineFailed } from "../errors.ts";
import { depthOf } from "../raw_json.ts";
import type { Machine } from "./machine.ts";

const MAX_DEPTH = 10;
const MAX_SECONDS = 8_640_000_000_000; // What a date can tell.

/** A record of what happened on a machine, as the machine keeps it for whoever sits at it. */
const historyRecord = z.object({
  /** From 1, without gaps. */
  sequence: z.int().positive(),
  /** Seconds since 1970; 0 where it is not known. */
  time: z.int().nonnegative().max(MAX_SECONDS),
  feature: z.string().max(256),
  /** By number: 0 the event, 1 its version, the rest is the feature's. */
  values: z.record(z.string().regex(/^-?\d{1,10}$/), z.string()),
  /** Of this record and all before it. */
  hash: z.string().regex(/^([0-9a-f]{64})?$/),
});
const historyPage = z.object({
  total: z.int().nonnegative(),
  records: z.array(historyRecord),
});

export type HistoryPage = z.infer<typeof historyPage>;

/**
 * Asks a machine for its own history, newest first. What it answers is believed only as far as it keeps to the form. Rejects with
 * ApiError: as a call does, machine_failed, bad_answer.
 */
export async function readHistory(
  machine: Machine,
  { before, limit }: { before: number | undefined; limit: number },
): Promise<HistoryPage> {
  const reply = await machine.call("History", "GetRecords", JSON.stringify({ before, limit }));
  const code = reply.result || reply.code;
  if (code !== 0) throw machineFailed(code);
  const page = parse(reply);
  let below = Math.min(before ?? Number.POSITIVE_INFINITY, page.total + 1);
  for (const { sequence } of page.records) {
    if (sequence >= below) throw badAnswer();
    below = sequence;
  }
  if (page.records.length > limit) throw badAnswer();
  return page;
}

function parse({ text }: CallReply): HistoryPage {
  if (depthOf(text) > MAX_DEPTH) throw badAnswer();
  try {
    return historyPage.parse(JSON.parse(text));
  } catch {
    throw badAnswer();
  }
}
