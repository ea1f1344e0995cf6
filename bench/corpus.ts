// A folder of files as an administrator fetches them: sources, logs, tables, programs, pictures. The same at each run.

import { mkdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";

// Numbers from 0 to 1, by the small generator "mulberry32".
function numbers(seed: number): () => number {
  let state = seed;
  return () => {
    state = (state + 0x6d2b79f5) | 0;
    let mixed = Math.imul(state ^ (state >>> 15), 1 | state);
    mixed = (mixed + Math.imul(mixed ^ (mixed >>> 7), 61 | mixed)) ^ mixed;
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 2 ** 32;
  };
}

const next = numbers(1);
const whole = (below: number) => Math.floor(next() * below);

function words(count: number): string[] {
  const letters = "etaoinshrdlucmfwypvbgkjqxz";
  return Array.from({ length: count }, () =>
    Array.from({ length: 2 + whole(9) }, () => letters[Math.floor(26 * next() ** 2)]).join(""),
  );
}

const vocabulary = words(6000);
const word = () => vocabulary[Math.floor(vocabulary.length * next() ** 3)] ?? "";

// Enough for any file to be a piece of it. Deflate sees but 32 KiB, so that pieces in common help nobody.
function text(bytes: number, line: () => string): Buffer {
  const lines: string[] = [];
  for (let length = 0; length < bytes; ) {
    const added = line();
    lines.push(added);
    length += added.length;
  }
  return Buffer.from(lines.join(""));
}

function binary(bytes: number, byte: (at: number) => number): Buffer {
  const buffer = Buffer.alloc(bytes);
  for (let at = 0; at < bytes; at++) buffer[at] = byte(at);
  return buffer;
}

let clock = 1.7e12;
const source = () =>
  `${"  ".repeat(whole(5))}${word()} ${word()} = ${word()}(${word()}, ${whole(100)});\n`;
const log = () => {
  clock += whole(5000);
  const message = Array.from({ length: 4 + whole(8) }, word).join(" ");
  return `${new Date(clock).toISOString()} [${whole(9000)}] ${word()}: ${message}\r\n`;
};
const table = () => `${whole(1e6)};${word()};${whole(1e4) / 100};${word()};${whole(2)}\r\n`;
// Records with a few bytes that differ, as in programs and databases.
const record = (at: number) => (at % 16 < 9 ? (at >> 6) & 0x3f : whole(256));

// Count, smallest and largest size in KiB, and what a stretch of that many bytes looks like.
const kinds: [string, number, number, number, (bytes: number) => Buffer][] = [
  ["source.cpp", 420, 1, 60, (bytes) => text(bytes, source)],
  ["service.log", 140, 50, 700, (bytes) => text(bytes, log)],
  ["journal.log", 3, 6000, 24_000, (bytes) => text(bytes, log)],
  ["table.csv", 120, 20, 500, (bytes) => text(bytes, table)],
  ["program.bin", 80, 100, 1200, (bytes) => binary(bytes, record)],
  ["picture.jpg", 60, 200, 1400, (bytes) => binary(bytes, () => whole(256))],
];

// Writes the files and gives the sum of their sizes.
export function writeCorpus(folder: string): number {
  let bytes = 0;
  for (const [name, count, least, most, make] of kinds) {
    const from = make(1024 * Math.max(4096, most + 1));
    for (let number = 0; number < count; number++) {
      const size = 1024 * (least + whole(most - least)) + whole(1024);
      const start = whole(from.length - size);
      const place = join(folder, name.split(".")[0] ?? "", String(number % 12));
      mkdirSync(place, { recursive: true });
      writeFileSync(join(place, `${number}-${name}`), from.subarray(start, start + size));
      bytes += size;
    }
  }
  return bytes;
}
