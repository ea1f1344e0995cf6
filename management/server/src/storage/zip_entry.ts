import type { FileHandle } from "node:fs/promises";
import type { Readable } from "node:stream";
import { type Entry, fromFdPromise, getFileNameLowLevel, type ZipFile } from "yauzl";
import { ApiError, notFound } from "../errors.ts";

/**
 * Opens one entry of a ZIP archive, by the name that it has there. The archive is closed with the stream, or when this throws
 * ApiError: not_found, not_an_archive, encrypted. `gone` ends the search, which is long where there are millions of entries.
 */
export async function openEntry(
  file: FileHandle,
  wanted: string,
  gone: AbortSignal,
): Promise<{ size: number; stream: Readable }> {
  try {
    // Names are compared, never used as paths, so that none of them makes the archive unreadable.
    const archive = await fromFdPromise(file.fd, { decodeStrings: false });
    const entry = await findEntry(archive, wanted, gone);
    if (!entry) throw notFound("entry");
    if (entry.isEncrypted()) {
      throw new ApiError(400, "encrypted", "The entry is protected by a password.");
    }
    const stream = await archive.openReadStreamPromise(entry);
    stream.once("close", () => file.close());
    return { size: entry.uncompressedSize, stream };
  } catch (error) {
    await file.close();
    if (error instanceof ApiError) throw error;
    throw new ApiError(400, "not_an_archive", "The file is no ZIP archive that can be read.");
  }
}

async function findEntry(
  archive: ZipFile,
  wanted: string,
  gone: AbortSignal,
): Promise<Entry | undefined> {
  const name = wanted.replaceAll("\\", "/").normalize("NFC");
  for await (const entry of archive.eachEntry()) {
    gone.throwIfAborted();
    const { generalPurposeBitFlag, fileNameRaw, extraFields } = entry;
    const found = getFileNameLowLevel(generalPurposeBitFlag, fileNameRaw, extraFields, false);
    if (found.normalize("NFC") === name) return entry;
  }
  return undefined;
}
