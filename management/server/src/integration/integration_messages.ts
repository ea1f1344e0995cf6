import { z } from "zod";
import { eventMessage, heartbeats, int32 } from "../agent/agent_messages.ts";

const word = z.string().min(1).max(128);

/** What an agent may send on its integration connection, as docs/protocol.md has it. */
export const integrationMessage = z.discriminatedUnion("type", [
  z.object({ type: z.literal("hello"), version: z.literal(1), instance: word, store: word }),
  z.object({
    type: z.literal("status"),
    agents: z.array(z.object({ name: word, enabled: z.boolean() })).max(100),
  }),
  z.object({
    type: z.literal("policyReply"),
    id: z.int().positive(),
    status: int32,
    output: z.unknown(),
  }),
  eventMessage.extend({ seq: z.int().positive() }),
  ...heartbeats,
]);

export type IntegrationMessage = z.infer<typeof integrationMessage>;
export type IntegrationHello = Pick<
  Extract<IntegrationMessage, { type: "hello" }>,
  "instance" | "store"
>;
export type PolicyAgentStatus = Extract<IntegrationMessage, { type: "status" }>["agents"][number];

/** The machine's answer to a policy call. */
export interface PolicyReply {
  status: number;
  /** JSON, as the machine wrote it. */
  output: string;
}

/** What the server may send on an integration connection, but for policy calls. */
export type IntegrationServerMessage =
  | { type: "welcome"; acknowledged: number }
  | { type: "eventAck"; seq: number };
