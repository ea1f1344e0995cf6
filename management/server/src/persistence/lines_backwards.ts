import type { FileHandle } from "node:fs/promises";

const BLOCK_BYTES = 64 * 1024;
const MAX_LINE_BYTES = 1024 * 1024;
const NEWLINE = 0x0a;

/**
 * The lines of a file, last first, in portions: so a long file is never held as a whole. What follows the last end of a line is
 * left out, as it is still being written; of a line of more than 1 MiB a part is given.
 */
export async function* linesBackwards(file: FileHandle): AsyncGenerator<string[]> {
  let end = (await file.stat()).size;
  // What stands behind the block that is read next: the end of a line, up to and with its newline. Empty before the first one.
  let rest: Buffer = Buffer.alloc(0);
  while (end > 0) {
    const start = Math.max(0, end - BLOCK_BYTES);
    const block = await readBlock(file, start, end);
    end = start;
    const text = rest.length > 0 ? Buffer.concat([block, rest]) : upToLastLine(block);
    if (text.length === 0) continue;
    const first = start === 0 ? 0 : text.indexOf(NEWLINE) + 1;
    rest = text.subarray(0, first);
    if (rest.length > MAX_LINE_BYTES) rest = rest.subarray(-1);
    const lines = text.subarray(first, -1);
    if (first < text.length) yield lines.toString().split("\n").reverse();
  }
}

async function readBlock(file: FileHandle, start: number, end: number): Promise<Buffer> {
  const block = Buffer.allocUnsafe(end - start);
  let filled = 0;
  while (filled < block.length) {
    const { bytesRead } = await file.read(block, filled, block.length - filled, start + filled);
    if (bytesRead === 0) throw new Error("The file became shorter while it was read.");
    filled += bytesRead;
  }
  return block;
}

function upToLastLine(block: Buffer): Buffer {
  return block.subarray(0, block.lastIndexOf(NEWLINE) + 1);
}
