import type { BigIntStats } from "node:fs";
import type { FileHandle } from "node:fs/promises";
import { Transform } from "node:stream";
import type { FastifyReply, FastifyRequest } from "fastify";

const PIECE_BYTES = 256 * 1024;

/**
 * Answers with a file, or with the range of it that was asked for, and closes it. `onBytes` is called for each piece that goes
 * out, with where in the file it ends.
 */
export async function sendFile(
  request: FastifyRequest,
  reply: FastifyReply,
  file: FileHandle,
  { name, onBytes }: { name: string; onBytes(bytes: number, sent: number, total: number): void },
): Promise<FastifyReply> {
  const stats = await file.stat({ bigint: true });
  const size = Number(stats.size);
  const etag = etagOf(stats);
  const ifRange = request.headers["if-range"];
  const stale = ifRange !== undefined && ifRange !== etag;
  const range = stale ? undefined : readRange(request.headers.range, size);
  reply.headers({
    ...attachment(name),
    "accept-ranges": "bytes",
    etag,
    "last-modified": stats.mtime.toUTCString(),
  });
  if (range === "unsatisfiable" || request.method === "HEAD") {
    await file.close();
    if (range === "unsatisfiable") reply.code(416).header("content-range", `bytes */${size}`);
    else reply.header("content-length", size);
    return reply.send();
  }
  const { start, end } = range ?? { start: 0, end: size - 1 };
  if (range) reply.code(206).header("content-range", `bytes ${start}-${end}/${size}`);
  reply.header("content-length", end - start + 1);
  if (size === 0) {
    await file.close();
    return reply.send("");
  }
  let sent = start;
  const counter = new Transform({
    highWaterMark: PIECE_BYTES,
    transform(chunk: Buffer, _encoding, done) {
      sent += chunk.length;
      onBytes(chunk.length, sent, size);
      done(null, chunk);
    },
    // What was promised cannot be kept: only the end of the connection says so.
    flush: (done) => done(sent > end ? null : new Error("The file became shorter.")),
  });
  const stream = file.createReadStream({ start, end, highWaterMark: PIECE_BYTES });
  stream.on("error", (error) => counter.destroy(error));
  counter.on("close", () => stream.destroy());
  return reply.send(stream.pipe(counter));
}

/** The headers that make a browser save a body under this name instead of showing it. */
export function attachment(name: string): Record<string, string> {
  const plain = name.replace(/[^\x20-\x7e]|["\\%]/g, "_");
  const encoded = encodeURIComponent(name).replace(
    /['()*]/g,
    (char) => `%${char.charCodeAt(0).toString(16).toUpperCase()}`,
  );
  return {
    "content-type": "application/octet-stream",
    "content-disposition": `attachment; filename="${plain}"; filename*=UTF-8''${encoded}`,
    "cache-control": "no-store",
  };
}

/** Another one for each file that ever stood under a name: a download that goes on must not mix two. */
function etagOf({ ino, size, mtimeNs }: BigIntStats): string {
  return `"${ino.toString(36)}-${size.toString(36)}-${mtimeNs.toString(36)}"`;
}

/** Undefined for no range, and for what this server answers with the whole: several ranges, other units, nonsense. */
function readRange(
  header: string | undefined,
  size: number,
): { start: number; end: number } | "unsatisfiable" | undefined {
  const [, from = "", to = ""] = /^bytes=(\d*)-(\d*)$/.exec(header ?? "") ?? [];
  if (from === "" && to === "") return undefined;
  if (from === "") {
    const length = Math.min(Number(to), size);
    return length === 0 ? "unsatisfiable" : { start: size - length, end: size - 1 };
  }
  const start = Number(from);
  if (to !== "" && Number(to) < start) return undefined;
  if (start >= size) return "unsatisfiable";
  return { start, end: to === "" ? size - 1 : Math.min(Number(to), size - 1) };
}
