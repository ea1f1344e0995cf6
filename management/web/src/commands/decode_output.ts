/**
 * The text of a command's output, which may be cut anywhere: UTF-8 where it can be that, else the Western code page of
 * Windows. Line ends are as one expects them, however often the machine has added a carriage return.
 */
export function decodeOutput(bytes: Uint8Array): string {
  return decodeBytes(bytes).replace(/\r+\n/g, "\n").replaceAll("\0", "");
}

function decodeBytes(bytes: Uint8Array): string {
  try {
    // As a stream, so that half a character at the end is none that is wrong.
    return new TextDecoder("utf-8", { fatal: true }).decode(bytes, { stream: true });
  } catch {
    return new TextDecoder("windows-1252").decode(bytes);
  }
}
