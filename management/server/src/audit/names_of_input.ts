import { memberOf, parseOpenly } from "../jobs/job.ts";
import { printable } from "../machines/refusals.ts";
import type { AuditDetails } from "./audit_entry.ts";

const MAX_LENGTH = 256;
const MAX_PATHS = 10;

/**
 * The names that matter of a policy call's input: which files went where, which program ran, which job was cancelled. Never what
 * may hold a secret: no arguments of a command, no query of an address.
 */
export function namesOfInput(method: string, input: string): AuditDetails {
  const read = readers.get(method);
  if (!read) return {};
  const value = parseOpenly(input);
  const jobId = short(memberOf(value, "jobId"));
  return { ...read(value), ...(jobId && { job: jobId }) };
}

const readers = new Map<string, (input: unknown) => AuditDetails>(
  Object.entries({
    SetEnabled: (input: unknown): AuditDetails => {
      const enabled = memberOf(input, "enabled");
      const known = typeof enabled === "boolean" || typeof enabled === "number";
      return known ? { enabled: Boolean(enabled) } : {};
    },
    StartDownload: (input: unknown) => {
      const files = items(input).map((item) => short(withoutSecrets(memberOf(item, "sourceUri"))));
      const paths = items(input).map((item) => short(memberOf(item, "to")));
      return { ...named("files", files), ...named("paths", paths) };
    },
    StartUploadArchive: (input: unknown) => {
      const paths = items(input).map((item) => short(memberOf(item, "pattern")));
      return { name: short(memberOf(input, "name")), ...named("paths", paths) };
    },
    StartProcess: (input: unknown) => {
      const command = memberOf(input, "execute", "commandLine");
      return { program: short(programOf(typeof command === "string" ? command : "")) };
    },
    CancelDownload: () => ({}),
    CancelUpload: () => ({}),
  }),
);

function items(input: unknown): unknown[] {
  const found = memberOf(input, "items");
  return Array.isArray(found) ? found : [];
}

/** The first ones, and how many there are where they are more. */
function named(key: string, names: string[]): AuditDetails {
  const more = names.length > MAX_PATHS ? { [`${key}InAll`]: names.length } : {};
  return { [key]: names.slice(0, MAX_PATHS), ...more };
}

export function short(value: unknown): string {
  return typeof value === "string" ? printable(value, MAX_LENGTH) : "";
}

/** An address without the user, the password and the query in it. */
function withoutSecrets(uri: unknown): string {
  if (typeof uri !== "string") return "";
  return uri.replace(/[?#].*$/s, "").replace(/^(\w[\w+.-]*:\/\/)[^/]*@/, "$1");
}

function programOf(commandLine: string): string {
  return /^\s*(?:"([^"]*)"|(\S+))/.exec(commandLine)?.slice(1).find(Boolean) ?? "";
}
