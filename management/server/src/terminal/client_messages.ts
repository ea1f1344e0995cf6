import { z } from "zod";

const resizeEdge = z.number().transform((value) => clampEdge(value));

/** What a terminal's client may send, as docs/protocol.md has it. */
export const clientMessage = z.discriminatedUnion("type", [
  z.object({ type: z.literal("data"), data: z.object({ encodedBuffer: z.string() }) }),
  z.object({
    type: z.literal("resize"),
    resize: z.object({ cols: resizeEdge, rows: resizeEdge }),
  }),
  z.object({ type: z.literal("streamStop") }),
  z.object({ type: z.literal("streamError") }),
  z.object({ type: z.literal("ack"), bytes: z.int().positive() }),
]);

export type ClientMessage = z.infer<typeof clientMessage>;

/** The console behind a terminal ends on sizes of 0 and on absurd ones, so no other size ever reaches a machine. */
export function clampEdge(value: number): number {
  return Math.min(1000, Math.max(1, Math.trunc(value)));
}
