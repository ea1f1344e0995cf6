import { CloseCode, ProtocolError } from "./errors.ts";

/** Far beyond what anybody means, and within what each reader on the way can take. */
export const MAX_DEPTH = 1000;

/** How deep a JSON text nests. Of text that is no JSON it says something that is not too low. */
export function depthOf(text: string): number {
  let depth = 0;
  let deepest = 0;
  for (let at = 0; at < text.length; at++) {
    const char = text[at];
    if (char === '"') at = endOfString(text, at);
    else if (char === "{" || char === "[") deepest = Math.max(deepest, ++depth);
    else if (char === "}" || char === "]") depth--;
  }
  return deepest;
}

/**
 * The members of a JSON object as they stand in its text, without the blanks between tokens: what is handed on so keeps numbers
 * that JavaScript would change. `text` is known to be valid. Of equal names the last one counts, as everywhere.
 */
export function membersOf(text: string): Map<string, string> {
  const members = new Map<string, string>();
  let depth = 0;
  let key = "";
  let token = "";
  let start = 0;
  const take = (end: number): string => {
    const taken = token + text.slice(start, end);
    token = "";
    start = end + 1;
    return taken;
  };
  for (let at = 0; at < text.length; at++) {
    const char = text[at];
    if (char === '"') at = endOfString(text, at);
    else if (char === " " || char === "\n" || char === "\r" || char === "\t") token = take(at);
    else if (char === ":" && depth === 1) key = JSON.parse(take(at));
    else if (char === "{" || char === "[") {
      if (++depth === 1) take(at);
    } else if (char === "," || char === "}" || char === "]") {
      if (depth === 1) {
        const value = take(at);
        if (value) members.set(key, value);
      }
      if (char !== ",") depth--;
    }
  }
  return members;
}

/** Throws ProtocolError 1008. For a text that comes from outside, before it is parsed. */
export function checkDepth(text: string): void {
  if (depthOf(text) > MAX_DEPTH) throw new ProtocolError(CloseCode.policy, "nested too deeply");
}

/** Where the string that begins at `from` ends: its closing quotation mark, or the end of the text. */
function endOfString(text: string, from: number): number {
  for (let end = text.indexOf('"', from + 1); end >= 0; end = text.indexOf('"', end + 1)) {
    let backslashes = 0;
    while (text[end - 1 - backslashes] === "\\") backslashes++;
    if (backslashes % 2 === 0) return end;
  }
  return text.length;
}
