import { ApiError } from "../errors.ts";

const MAX_BYTES = 200;
const MAX_EXTENSION = 32;
/** Control characters, separators, and what means a drive, a stream or a pattern to Windows. */
const FORBIDDEN = /[\p{Cc}\\/<>:"|?*]/u;
const DEVICE = /^(con|prn|aux|nul|conin\$|conout\$|(com|lpt)[0-9¹²³])\s*(\.|$)/i;

/**
 * The form under which a file is kept. Throws ApiError bad_name for what could mean anything but a plain file in one folder, on
 * this system or on the machine that it goes to.
 */
export function checkName(given: string): string {
  const name = given.normalize("NFC");
  const bytes = Buffer.byteLength(name);
  if (bytes === 0) throw badName("The name is empty.");
  if (bytes > MAX_BYTES) throw badName(`The name is longer than ${MAX_BYTES} bytes.`);
  if (FORBIDDEN.test(name)) throw badName("The name has a character that names may not have.");
  if (name.startsWith(".")) throw badName("The name begins with a full stop.");
  if (/[\s.]$/.test(name)) throw badName("The name ends in a blank or a full stop.");
  if (DEVICE.test(name)) throw badName("The name is that of a device.");
  return name;
}

/** `name` with a number before its extension, still no longer than a name may be. */
export function numbered(name: string, number: number): string {
  const dot = name.lastIndexOf(".");
  // What is longer is no extension, and might leave no room for the number.
  const extension = dot > 0 && name.length - dot <= MAX_EXTENSION ? name.slice(dot) : "";
  const suffix = ` (${number})`;
  let stem = [...name.slice(0, name.length - extension.length)];
  while (stem.length > 1 && Buffer.byteLength(stem.join("") + suffix + extension) > MAX_BYTES) {
    stem = stem.slice(0, -1);
  }
  return checkName(stem.join("") + suffix + extension);
}

function badName(message: string): ApiError {
  return new ApiError(400, "bad_name", message);
}
