import { integer, type Json, list, parse, text } from "../api/json";
import { storagePath } from "../api/server";
import { fromBase64 } from "../sessions/base64";

/** Where the archive of a finished upload lies on this server. */
export interface StoredArchive {
  profile: string;
  name: string;
  path: string;
}

/** The archive that an upload's end tells of; undefined where nothing arrived, or not on this server. */
export function storedArchive(end: Json): StoredArchive | undefined {
  if (text(end, "status") !== "success") return undefined;
  const profile = text(end, "centralizedStorage", "profile");
  const name = nameIn(end);
  if (!profile || !name) return undefined;
  return { profile, name, path: storagePath(profile, name) };
}

/** The storage's answer is JSON, but travels as a text where its type has a charset, or as Base64. */
function nameIn(end: Json): string {
  const response = ["centralizedStorage", "httpResponse"] as const;
  const direct = text(end, ...response, "body", "name");
  if (direct) return direct;
  const body = text(end, ...response, "body");
  if (body) return text(parse(body), "name");
  try {
    const bytes = fromBase64(text(end, ...response, "body64"));
    return text(parse(new TextDecoder().decode(bytes)), "name");
  } catch {
    return "";
  }
}

export interface ItemResult {
  path: string;
  code: number;
  word: string;
}

/** The results per item of an upload's end ("pattern") or a download's ("to"). */
export function itemResults(end: Json, pathKey: "pattern" | "to"): ItemResult[] {
  return list(end, "items").map((item) => ({
    path: text(item, pathKey),
    code: integer(item, "errorCode") ?? Number.NaN,
    word: text(item, "error"),
  }));
}
