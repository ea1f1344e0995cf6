import { z } from "zod";
import { membersOf } from "../raw_json.ts";

/** Windows codes, signed or not. */
export const int32 = z.int().min(-0x8000_0000).max(0xffff_ffff);
const streamId = z.string().min(1).max(256);

export const eventMessage = z.object({
  type: z.literal("event"),
  seq: z.int().nonnegative(),
  name: z.string().min(1).max(256),
  payload: z.unknown(),
});

export const heartbeats = [
  z.object({ type: z.literal("ping") }),
  z.object({ type: z.literal("pong") }),
] as const;

/** What an agent may send on its main connection, as docs/protocol.md has it. */
export const agentMessage = z.discriminatedUnion("type", [
  z.object({ type: z.literal("hello"), version: z.literal(1), enabled: z.boolean() }),
  z.object({ type: z.literal("state"), enabled: z.boolean() }),
  z.object({
    type: z.literal("rpcReply"),
    id: z.int().positive(),
    result: int32,
    code: int32,
    text: z.string(),
  }),
  z.object({
    type: z.literal("stream"),
    stream: streamId,
    message: z.string().min(1).max(128),
    content: z.string(),
  }),
  z.object({
    type: z.literal("streamClosed"),
    stream: streamId,
    reason: z.enum(["destroyed", "lost", "hostLost", "unused"]),
  }),
  eventMessage,
  ...heartbeats,
]);

export type AgentMessage = z.infer<typeof agentMessage>;
export type StreamMessage = Extract<AgentMessage, { type: "stream" }>;
export type StreamClosed = Extract<AgentMessage, { type: "streamClosed" }>;
export type CallReply = Pick<
  Extract<AgentMessage, { type: "rpcReply" }>,
  "result" | "code" | "text"
>;

/** Something that happened on a machine. */
export interface AgentEvent {
  seq: number;
  name: string;
  /** JSON, as the machine wrote it, in one line. */
  payload: string;
}

/** `text` is the message's own. */
export function toEvent({ seq, name }: z.infer<typeof eventMessage>, text: string): AgentEvent {
  return { seq, name, payload: membersOf(text).get("payload") ?? "null" };
}

/** What the server may send to an agent on its main connection. */
export type ServerMessage =
  | { type: "rpc"; id: number; module: string; method: string; params: string }
  | { type: "streamOpen"; stream: string }
  | { type: "stream"; stream: string; text: string }
  | { type: "streamCredit"; stream: string; bytes: number }
  | { type: "streamClose"; stream: string }
  | { type: "ping" }
  | { type: "pong" };
