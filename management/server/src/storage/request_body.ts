import type { FastifyInstance, FastifyRequest } from "fastify";
import { tooLarge } from "../errors.ts";

/** Leaves the bodies of these routes alone, of whatever type and length they are: their handlers read them as they come. */
export function leaveBodies(routes: FastifyInstance): void {
  routes.removeAllContentTypeParsers();
  routes.addContentTypeParser("*", (_request, _body, done) => done(null));
}

/** The length that the request says it has; undefined when it does not say. */
export function lengthOf({ headers }: FastifyRequest): number | undefined {
  return headers["content-length"] === undefined ? undefined : Number(headers["content-length"]);
}

/**
 * The body, piece by piece, as fast as it is taken. What is not taken is still read, and dropped: a client that is cut off while
 * it sends does not see why it was refused.
 */
export async function* chunksOf(request: FastifyRequest, maxSize: number): AsyncIterable<Buffer> {
  try {
    if ((lengthOf(request) ?? 0) > maxSize) throw tooLarge();
    yield* request.raw.iterator({ destroyOnReturn: false }) as AsyncIterable<Buffer>;
  } finally {
    request.raw.resume();
  }
}
