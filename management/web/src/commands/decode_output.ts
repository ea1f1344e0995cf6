// Code page 850, from 128 on. What the consoles of America (437) have else is lines of tables.
const consoleLetters =
  "ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜø£Ø×ƒáíóúñÑªº¿®¬½¼¡«»░▒▓│┤ÁÂÀ©╣║╗╝¢¥┐" +
  "└┴┬├─┼ãÃ╚╔╩╦╠═╬¤ðÐÊËÈıÍÎÏ┘┌█▄¦Ì▀ÓßÔÒõÕµþÞÚÛÙýÝ¯´\u00ad±‗¾¶§÷¸°¨·¹³²■\u00a0";

/**
 * The text of a command's output, which may be cut anywhere: UTF-8 where it can be that, else the code page that consoles of
 * a Western Windows have. Line ends are as one expects them, however often the machine has added a carriage return.
 */
export function decodeOutput(bytes: Uint8Array): string {
  return decodeBytes(bytes).replace(/\r+\n/g, "\n").replaceAll("\0", "");
}

function decodeBytes(bytes: Uint8Array): string {
  try {
    // As a stream, so that half a character at the end is none that is wrong.
    return new TextDecoder("utf-8", { fatal: true }).decode(bytes, { stream: true });
  } catch {
    const letters = Array.from(bytes, (byte) =>
      byte < 128 ? String.fromCharCode(byte) : consoleLetters[byte - 128],
    );
    return letters.join("");
  }
}
