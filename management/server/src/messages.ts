import type { RawData } from "ws";
import type { z } from "zod";
import { CloseCode, ProtocolError } from "./errors.ts";
import { checkDepth } from "./raw_json.ts";

/** The text of one WebSocket message. Throws ProtocolError 1003 for a binary one. */
export function readText(data: RawData, isBinary: boolean): string {
  if (isBinary) throw new ProtocolError(CloseCode.unsupportedData, "messages are text");
  return data.toString();
}

/**
 * Reads the text of one WebSocket message as JSON of the given shape.
 * Throws ProtocolError: 1007 malformed JSON, 1008 unknown type, wrongly typed member, or nested too deeply.
 */
export function readMessage<T>(schema: z.ZodType<T>, text: string): T {
  checkDepth(text);
  const parsed = schema.safeParse(parseJson(text, "message"));
  if (parsed.success) return parsed.data;
  const issue = parsed.error.issues[0];
  const where = issue?.path.join(".") || "message";
  throw new ProtocolError(CloseCode.policy, `unknown or wrongly typed: ${where}`.slice(0, 120));
}

/** Throws ProtocolError 1007. `what` names the text in the reason. */
export function parseJson(text: string, what: string): unknown {
  try {
    return JSON.parse(text);
  } catch {
    throw new ProtocolError(CloseCode.malformed, `${what} is not JSON`);
  }
}
