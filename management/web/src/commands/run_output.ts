import { type Signal, signal } from "@preact/signals";
import { type Problem, problemOf } from "../api/problem";
import { get } from "../api/server";
import { archiveEntry } from "../files/names";
import { itemResults, storedArchive } from "../files/stored_archive";
import type { Job } from "../live/jobs_feed";
import { describePackedItem } from "../words_of_codes";
import { decodeOutput } from "./decode_output";

const MAX_BYTES = 1024 * 1024;

export type RunOutput =
  | { phase: "loading" }
  | { phase: "here"; text: string; cut: boolean }
  | { phase: "failed"; problem: Problem };

const outputs = new Map<Job["id"], Signal<RunOutput>>();

/** What a run wrote, by the upload that brought it back; asked for once. */
export function outputOf(upload: Job): Signal<RunOutput> {
  let output = outputs.get(upload.id);
  if (!output) {
    output = signal<RunOutput>({ phase: "loading" });
    outputs.set(upload.id, output);
    load(upload, output);
  }
  return output;
}

async function load(upload: Job, output: Signal<RunOutput>): Promise<void> {
  const archive = storedArchive(upload.end);
  // The output file is packed last, after what else was to be brought along.
  const file = itemResults(upload.end, "pattern").at(-1);
  if (!archive || !file) {
    output.value = { phase: "failed", problem: { text: "There is no output here." } };
  } else if (file.code !== 0) {
    const problem = { text: describePackedItem(file.code).text, code: file.code, said: file.word };
    output.value = { phase: "failed", problem };
  } else {
    try {
      const entry = encodeURIComponent(archiveEntry(file.path));
      const response = await get(`${archive.path}?entry=${entry}`);
      output.value = { phase: "here", ...(await readStart(response)) };
    } catch (error) {
      outputs.delete(upload.id);
      output.value = { phase: "failed", problem: problemOf(error) };
    }
  }
}

/** Reads no more than is shown; the rest stays where it is. */
async function readStart(response: Response): Promise<{ text: string; cut: boolean }> {
  const reader = response.body?.getReader();
  const bytes = new Uint8Array(MAX_BYTES);
  let length = 0;
  let cut = false;
  for (;;) {
    const piece = await reader?.read();
    if (!piece || piece.done) break;
    const fits = piece.value.subarray(0, MAX_BYTES - length);
    bytes.set(fits, length);
    length += fits.length;
    if (fits.length === piece.value.length) continue;
    cut = true;
    await reader?.cancel();
    break;
  }
  return { text: decodeOutput(bytes.subarray(0, length)), cut };
}
