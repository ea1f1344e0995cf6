/** A value of unknown shape, from a machine or a script. */
export type Json = unknown;

/** The member at a path of keys; undefined where there is no such thing. */
export function member(value: Json, ...path: string[]): Json {
  let at = value;
  for (const key of path) {
    if (typeof at !== "object" || at === null || !Object.hasOwn(at, key)) return undefined;
    at = (at as Record<string, Json>)[key];
  }
  return at;
}

export function text(value: Json, ...path: string[]): string {
  const found = member(value, ...path);
  if (typeof found === "string") return found;
  return typeof found === "number" ? String(found) : "";
}

export function integer(value: Json, ...path: string[]): number | undefined {
  const found = member(value, ...path);
  return Number.isSafeInteger(found) ? (found as number) : undefined;
}

export function list(value: Json, ...path: string[]): Json[] {
  const found = member(value, ...path);
  return Array.isArray(found) ? found : [];
}

export function parse(json: string): Json {
  try {
    return JSON.parse(json);
  } catch {
    return undefined;
  }
}
