import { integer, type Json, list, member, text } from "./api/json";
import type { Problem } from "./api/problem";
import type { AuditEntry } from "./records/audit";
import { type Attempt, describeHttp, problemOfCode } from "./words_of_codes";
import { duration, size } from "./words_of_sizes";

export interface ActionWords {
  text: string;
  /** What it was done with: names of files, a program, a method. */
  names: string;
}

export function describeWho(who: string): string {
  const known: Record<string, string> = { token: "Token", server: "Server", nobody: "Nobody" };
  return (Object.hasOwn(known, who) && known[who]) || who.replace(/^session/, "Page");
}

export function describeAction({ action, details }: AuditEntry): ActionWords {
  const say = actions[action];
  if (!Object.hasOwn(actions, action) || !say) return { text: action, names: "" };
  const words = say(details);
  return typeof words === "string" ? { text: words, names: "" } : words;
}

const actions: Record<string, (details: Json) => ActionWords | string> = {
  signIn: () => "Signed in",
  signInRefused: () => "Sign-in with a wrong token",
  signOut: () => "Signed out",
  refused: describeRefused,
  call: describeCall,
  policy: describePolicyCall,
  history: () => "Read the machine's own history",
  terminalOpen: () => "Opened a shell",
  terminalEnd: () => "A shell ended",
  storagePut: (details) => named("Stored a file", fileOf(details)),
  storageGet: (details) => named("Read a stored file", fileOf(details)),
  storageDelete: (details) => named("Deleted a stored file", fileOf(details)),
  serverStart: (details) =>
    member(details, "afterUnexpectedEnd") === true
      ? "The server started, after it had ended unexpectedly"
      : "The server started",
  serverStop: () => "The server stopped",
};

function named(text: string, names: string): ActionWords {
  return { text, names };
}

function fileOf(details: Json): string {
  const profile = text(details, "profile");
  const place = profile === "default" ? "" : ` in ${profile}`;
  return [text(details, "name"), text(details, "entry")].filter(Boolean).join(": ") + place;
}

function describeRefused(details: Json): ActionWords | string {
  const further = integer(details, "further");
  if (further) return `${further.toLocaleString("en")} further attempts from there`;
  return named("A request without the right to it", text(details, "tried"));
}

const calls: Record<string, string> = {
  OpenTerminal: "Opened a shell by a bare call",
  GetCurrentPath: "Asked for a shell's folder",
  PrevalidateDownloadPath: "Checked a folder for sending",
  PrevalidateUploadPath: "Checked a path for fetching",
};

function describeCall(details: Json): ActionWords {
  const [module, method] = [text(details, "module"), text(details, "method")];
  const known = module === "RemoteAccess" && Object.hasOwn(calls, method) && calls[method];
  if (known) return named(known, "");
  return named("Remote call", module && module !== "RemoteAccess" ? `${module}.${method}` : method);
}

function describePolicyCall(details: Json): ActionWords {
  const paths = namesOf(details, "paths");
  switch (text(details, "method")) {
    case "SetEnabled": {
      const enabled = member(details, "enabled");
      if (typeof enabled !== "boolean") return named("Turned remote access on or off", "");
      return named(enabled ? "Switched remote access on" : "Switched remote access off", "");
    }
    case "GetEnabled":
      return named("Asked whether remote access is on", "");
    case "StartDownload":
      return named("Started sending files", paths);
    case "StartUploadArchive":
      return named("Started fetching files", paths);
    case "StartProcess":
      return named("Started a command", text(details, "program"));
    case "CancelDownload":
      return named("Cancelled sending", "");
    case "CancelUpload":
      return named("Cancelled fetching", "");
    default:
      return named("Policy call", text(details, "method"));
  }
}

function namesOf(details: Json, key: string): string {
  const names = list(details, key).map(String);
  const all = integer(details, `${key}InAll`) ?? names.length;
  const more = all > names.length ? ` and ${all - names.length} more` : "";
  return names.join(", ") + more;
}

export interface ResultWords {
  text: string;
  tone: "good" | "calm" | "bad";
  problem?: Problem;
}

const ends: Record<string, string> = {
  closed: "Closed from here",
  shellExited: "The shell exited",
  inactivity: "Closed for inactivity",
  machineLost: "Machine lost",
  hostLost: "The shell's process ended",
  streamLost: "Output could not be delivered",
  openFailed: "Not opened",
  serverStopping: "The server stopped",
};

export function describeResult({ action, details, result }: AuditEntry): ResultWords {
  if (result === undefined) return { text: "Under way", tone: "calm" };
  const reason = text(result, "reason");
  const end = (Object.hasOwn(ends, reason) && ends[reason]) || reason;
  const ok = member(result, "ok") === true;
  const bytes = integer(result, "bytes");
  const ms = integer(result, "ms") ?? 0;
  const more = [
    ...(bytes === undefined ? [] : [size(bytes)]),
    ...(ms >= 2000 || action === "terminalEnd" ? [duration(ms)] : []),
  ];
  const refused = action === "refused" || action === "signInRefused";
  const words = [end || (ok ? "Done" : refused ? "Refused" : "Failed"), ...more].join(", ");
  if (ok) return { text: words, tone: end ? "calm" : "good" };
  const problem = problemOfResult(action, text(details, "method"), result);
  return { text: words, tone: "bad", ...(problem && { problem }) };
}

/** What means something else to whoever reads it here than to whom it was told. */
const errorsHere: Record<string, string> = {
  unauthorized: "Without a valid token or session.",
  forbidden_origin: "From the page of another site.",
  not_found: "There was no such thing.",
};

const attempts: Record<string, Attempt> = {
  SetEnabled: "switch",
  StartDownload: "send",
  StartUploadArchive: "fetch",
  StartProcess: "run",
  CancelDownload: "cancel",
  CancelUpload: "cancel",
};

function problemOfResult(action: string, method: string, result: Json): Problem | undefined {
  const code = integer(result, "code");
  // Remote calls have the codes of whatever they call.
  if (code && action === "call") return { text: "The method answered:", code };
  const attempt = Object.hasOwn(attempts, method) ? attempts[method] : undefined;
  if (code) return problemOfCode(code, "", attempt);
  const error = text(result, "error");
  if (!error) return undefined;
  const here = Object.hasOwn(errorsHere, error) ? errorsHere[error] : undefined;
  if (here) return { text: here };
  const problem = describeHttp(integer(result, "http") ?? -1, error, "");
  return integer(result, "http") ? problem : { text: problem.text };
}
