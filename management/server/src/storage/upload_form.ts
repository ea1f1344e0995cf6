import { once } from "node:events";
import type { Readable } from "node:stream";
import { Busboy, type BusboyConfig, type BusboyInstance } from "@fastify/busboy";
import type { FastifyRequest } from "fastify";
import { ApiError, badRequest } from "../errors.ts";

const MAX_FIELD_BYTES = 64 * 1024;
const MAX_FIELDS = 1000;

/**
 * Reads a `multipart/form-data` body up to its end. Its part "file" goes to `store` as it comes, under the name that the form gives
 * it; the pieces end without an error only when the whole form was well formed. Throws ApiError bad_request, and what `store` throws.
 */
export async function receiveForm<T>(
  { raw, headers }: FastifyRequest,
  store: (name: string, chunks: AsyncIterable<Buffer>) => Promise<T>,
): Promise<T> {
  const form = openForm(headers as BusboyConfig["headers"]);
  const ended = once(form, "finish").catch((error) => {
    throw error instanceof ApiError ? error : badRequest("The form is malformed.");
  });
  ended.catch(() => {}); // Whoever waits for it is told.
  let key: string | undefined;
  let part: Readable | undefined;
  const breakOff = () => {
    const error = badRequest("The transfer broke off.");
    form.destroy(error);
    part?.destroy(error);
  };
  raw.once("error", breakOff);
  form.on("error", (error) => part?.destroy(error as Error));
  form.on("field", (name, value) => {
    if (name === "key") key = value;
  });
  // Dropping what is too much could mean another file, or another name, than the sender has in mind.
  const refuse = () => form.destroy(badRequest("The form has too many fields or files."));
  form.once("filesLimit", refuse);
  form.once("fieldsLimit", refuse);
  try {
    return await new Promise<T>((resolve, reject) => {
      form.on("file", (field, stream, filename) => {
        if (field !== "file" || !filename || part) return void stream.resume();
        part = stream;
        stream.on("error", () => {}); // It comes after the last piece was asked for, too.
        // Longer than any name may be, and no longer, since the key may hold it thousands of times.
        const given = filename.slice(0, 256);
        const name = key?.replace(/\$\{filename\}/g, () => given) ?? given;
        store(name, upTo(stream, ended)).then(resolve, reject);
      });
      // With a part, its storing ends first, one way or the other.
      ended
        .then(() => {
          throw badRequest('There is no part "file" with a file name.');
        })
        .catch((error) => part || reject(error));
      raw.pipe(form);
    });
  } finally {
    raw.unpipe(form);
    raw.resume();
  }
}

async function* upTo(stream: Readable, end: Promise<unknown>): AsyncIterable<Buffer> {
  try {
    yield* stream;
  } catch (error) {
    throw error instanceof ApiError ? error : badRequest("The form is malformed.");
  }
  await end;
}

function openForm(headers: BusboyConfig["headers"]): BusboyInstance {
  try {
    return new Busboy({
      headers,
      preservePath: true, // A path is refused, not shortened to a name.
      limits: { files: 1, fields: MAX_FIELDS, fieldSize: MAX_FIELD_BYTES },
    });
  } catch {
    throw badRequest("The body is no multipart/form-data.");
  }
}
