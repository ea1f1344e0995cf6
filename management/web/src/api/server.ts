import { describeHttp } from "../words_of_codes";
import { integer, type Json, list, member, parse, text } from "./json";
import { Refusal } from "./problem";

export interface PolicyAnswer {
  status: number;
  output: Json;
}

/** The answer to a question by JSON-RPC: a code, and the answer's own text, parsed. */
export interface RpcAnswer {
  code: number;
  answer: Json;
}

export interface StorageProfile {
  name: string;
  maxSize: number;
}

/** Calls a policy method of a machine. Throws a `Refusal` where the call did not get there or back. */
export async function policy(
  machineId: string,
  method: string,
  input: Json,
): Promise<PolicyAnswer> {
  const answer = await ask(`${machinePath(machineId)}/policy/${method}`, {
    method: "POST",
    headers: { "content-type": "application/json" },
    body: JSON.stringify(input),
  });
  return { status: integer(answer, "status") ?? Number.NaN, output: member(answer, "output") };
}

export async function rpc(machineId: string, method: string, input: Json): Promise<RpcAnswer> {
  const answer = await ask(`${machinePath(machineId)}/rpc/${method}`, {
    method: "POST",
    body: JSON.stringify(input),
  });
  const code = integer(answer, "result") || integer(answer, "code") || 0;
  return { code, answer: parse(text(answer, "text")) };
}

export async function storageProfiles(): Promise<StorageProfile[]> {
  return (await ask("/api/storage", {})) as StorageProfile[];
}

/** Names of the files in a profile. */
export async function storedNames(profile: string): Promise<Set<string>> {
  const files = list(await ask(`/api/storage/${encodeURIComponent(profile)}`, {}));
  return new Set(files.map((file) => text(file, "name")));
}

export function machinePath(machineId: string): string {
  return `/api/machines/${encodeURIComponent(machineId)}`;
}

export function storagePath(profile: string, name: string): string {
  return `/api/storage/${encodeURIComponent(profile)}/${encodeURIComponent(name)}`;
}

/** Removes a stored file; that it is gone already is as good. */
export async function deleteStored(profile: string, name: string): Promise<void> {
  const response = await send(storagePath(profile, name), { method: "DELETE" });
  if (!response.ok && response.status !== 404) throw await refusalOf(response);
}

/** Stores a file, telling the bytes that have left. No other way of sending tells them. */
export function putStored(
  profile: string,
  name: string,
  file: Blob,
  { onProgress, signal }: { onProgress(bytes: number): void; signal: AbortSignal },
): Promise<void> {
  return new Promise((resolve, reject) => {
    if (signal.aborted) return reject(signal.reason);
    const request = new XMLHttpRequest();
    request.open("PUT", storagePath(profile, name));
    request.setRequestHeader("content-type", "application/octet-stream");
    request.upload.onprogress = (event) => onProgress(event.loaded);
    request.onload = () => {
      if (request.status >= 200 && request.status < 300) return resolve();
      reject(refusal(request.status, request.responseText));
    };
    // The browser does not tell the one from the other.
    request.onerror = () =>
      reject(
        new Refusal({ text: "The server can't be reached, or the file can no longer be read." }),
      );
    request.onabort = () => reject(signal.reason);
    signal.addEventListener("abort", () => request.abort(), { once: true });
    request.send(file);
  });
}

/** Fetches what a person wants to look at. Throws a `Refusal` for whatever is no success. */
export async function get(path: string, init: RequestInit = {}): Promise<Response> {
  const response = await send(path, init);
  if (!response.ok) throw await refusalOf(response);
  return response;
}

async function ask(path: string, init: RequestInit): Promise<Json> {
  const response = await get(path, init);
  try {
    return await response.json();
  } catch {
    throw new Refusal(describeHttp(0, "", ""));
  }
}

async function send(path: string, init: RequestInit): Promise<Response> {
  try {
    return await fetch(path, init);
  } catch (error) {
    if (init.signal?.aborted) throw error;
    throw new Refusal(describeHttp(0, "", ""));
  }
}

async function refusalOf(response: Response): Promise<Refusal> {
  return refusal(response.status, await response.text().catch(() => ""));
}

function refusal(status: number, body: string): Refusal {
  if (status === 401) location.assign("/");
  const answer = parse(body);
  return new Refusal(describeHttp(status, text(answer, "error"), text(answer, "message")));
}
