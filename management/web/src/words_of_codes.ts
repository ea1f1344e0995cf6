import { integer, text } from "./api/json";
import type { Problem } from "./api/problem";
import type { PolicyAnswer, RpcAnswer } from "./api/server";

/** What a code means wherever nothing more special is known. */
const codes: Record<number, string> = {
  2: "It was not found on the machine.",
  3: "The path was not found on the machine.",
  5: "Windows on the machine denied access.",
  6: "The machine no longer knows this job. It may have ended already.",
  8: "The machine has not enough memory or space.",
  13: "The machine's agent received a request that it could not read.",
  21: "Remote access is not ready on the machine. Its agent may be just starting or stopping.",
  32: "Another program on the machine uses the file.",
  39: "The disk of the machine is full.",
  87: "The machine did not accept the request.",
  112: "The disk of the machine is full.",
  123: "The name is not a valid one.",
  160: "The machine did not accept the request: something in it is missing or not as expected.",
  170: "The machine is busy with other work. Try again in a moment.",
  183: "Something of that name is there already.",
  193: "The file is not a program that this Windows can run.",
  206: "The path is too long for the machine.",
  223: "It is larger than the storage allows.",
  267: "The path is not complete. Begin with the drive, as in C:\\Logs.",
  313: "This folder belongs to the product on the machine, and is closed.",
  740: "The program asks for rights that the agent does not have.",
  995: "It was stopped before it was its turn.",
  1168: "The storage profile is not known to the machine.",
  1223: "It was cancelled.",
  1260: "Remote access is switched off on this machine.",
  1359: "Something went wrong inside the machine's agent.",
  1375: "A job with the same identifier is running already.",
  1460: "It took longer than allowed, and was given up.",
  1627: "Nothing came of it: the machine reports a failure without a reason.",
  1631: "The archive could not be written.",
  1901: "The time limit is not valid.",
  2250: "The machine's agent is not connected to the storage.",
  4306: "There is nothing to do: the list is empty.",
  4317: "The machine's agent does not know this request; its version may not fit this server's.",
  5002: "A part of the agent is missing on the machine.",
  5023: "The machine's agent gave no answer to itself.",
  8348: "The identifier of the job is too long.",
  12002: "The storage did not answer in time.",
  12007: "The machine could not find the storage's address.",
  12029: "The machine could not connect to the storage.",
  12030: "The connection to the storage broke.",
  12152: "The storage's answer could not be understood.",
};

/** What was tried; some codes then mean something more special. */
export type Attempt =
  | "switch"
  | "send"
  | "fetch"
  | "run"
  | "cancel"
  | "transfer"
  | "checkSend"
  | "checkFetch";

const special: Record<Attempt, Record<number, string>> = {
  switch: { 5: "Windows on the machine denied writing the setting." },
  send: {},
  fetch: {
    123: "The archive's name is not a valid file name.",
    170: "The machine has 30 archives waiting already. Try again when some are done.",
    4306: "No path was given.",
  },
  run: {
    2: "The program was not found on the machine.",
    3: "The path of the program was not found on the machine.",
    160: "The machine could not start this. Remote access may be switched off, or the working folder is not a complete path; the agent's log says which.",
    267: "The working folder is not a folder.",
    1359: "The working folder or the output file could not be made on the machine.",
  },
  cancel: { 6: "There was nothing left to cancel: it has ended already." },
  transfer: {
    2: "The storage does not have the file.",
    3: "The folder could not be made on the machine.",
    5: "Access was denied, by Windows on the machine or by the storage.",
    13: "What came from the storage is damaged.",
    33: "Another program on the machine uses the file.",
    87: "The storage could not make sense of the request.",
    112: "There is no room left, on the machine's disk or in the storage.",
    123: "The name is not one that the storage can have.",
    170: "The storage is busy.",
    1627: "The storage has failed.",
    12156: "The storage sent the machine to another server, which it does not follow.",
    12175: "The machine does not trust the storage's certificate.",
  },
  checkSend: {
    2: "This folder does not exist on the machine.",
    3: "This is a file, not a folder.",
    5: "The agent has no right to write into this folder.",
    8: "The disk has less free space than the largest file that the storage allows. Smaller files may still fit.",
    123: "Name a folder on the machine, as in C:\\Users\\Public.",
    313: "This is the product's own folder. Nothing can be sent there.",
    1359: "The machine could not look at its storage or its disk.",
  },
  checkFetch: {
    2: "This path does not exist on the machine.",
    5: "The agent has no right to read this.",
    123: "Name a file or folder on the machine, as in C:\\Logs.",
    223: "This is more than the storage takes.",
    1359: "The machine could not read this folder to its end, or its storage is not there.",
    4306: "There is no file in this folder.",
  },
};

export function describeCode(code: number, attempt?: Attempt): string {
  const known = (attempt && special[attempt][code]) ?? codes[code];
  return known ?? "The machine answered with an error that has no description here.";
}

/** What is wrong with an answer to a policy call; undefined for success. */
export function problemOfAnswer(answer: PolicyAnswer, attempt: Attempt): Problem | undefined {
  if (answer.status === 0) return undefined;
  return problemOfCode(answer.status, text(answer.output, "message"), attempt);
}

/** What is wrong by a check of a path; undefined where all is well. */
export function problemOfCheck(
  { code, answer }: RpcAnswer,
  attempt: "checkSend" | "checkFetch",
): Problem | undefined {
  const refusal = integer(answer, "code") ?? code;
  if (refusal !== 0) return problemOfCode(refusal, text(answer, "message"), attempt);
  return answer === undefined ? { text: "The machine's answer could not be read." } : undefined;
}

export function problemOfCode(code: number, said: string, attempt?: Attempt): Problem {
  const problem = { text: describeCode(code, attempt), code };
  return said && said !== "N/A" ? { ...problem, said } : problem;
}

/** Results of the items of an upload, which the machine packs one by one. */
const itemCodes: Record<number, string> = {
  0: "Packed.",
  2: "Not found on the machine.",
  161: "Not a usable path: neither a file nor a folder, or a link.",
  232: "The folder is empty.",
  267: "Not a complete path. Begin with the drive, as in C:\\Logs.",
  313: "Access was denied.",
  995: "Not packed: the work was stopped before.",
  996: "Packed, but some files in it could not be read.",
  1223: "Cancelled while it was being packed.",
  1359: "The folder could not be read to its end; what was read until then is in the archive.",
  15616: "The file could not be packed. Another program may have locked it.",
};

export interface ItemWords {
  text: string;
  tone: "good" | "warn" | "bad";
}

export function describePackedItem(code: number): ItemWords {
  if (code === 0) return { text: "Packed.", tone: "good" };
  const tone = code === 996 || code === 232 ? "warn" : "bad";
  return { text: itemCodes[code] ?? describeCode(code), tone };
}

export function describeSentItem(code: number): ItemWords {
  if (code === 0) return { text: "Arrived.", tone: "good" };
  return { text: describeCode(code, "transfer"), tone: code === 1223 ? "warn" : "bad" };
}

const httpErrors: Record<string, string> = {
  unauthorized: "You are no longer signed in.",
  forbidden_origin: "The server refused a request from this address of the page.",
  not_connected: "The machine's agent is not connected for this now.",
  not_found: "The server does not have this.",
  too_large: "It is larger than the server takes.",
  bad_request: "The server could not make sense of the request.",
  bad_name: "The server does not take a file of this name.",
  busy: "Too many requests for this machine are waiting. Try again in a moment.",
  machine_failed: "The machine could not answer.",
  bad_answer: "What the machine answered cannot be understood.",
  cut_off: "The connection broke before the end.",
  server_stopped: "The server was stopped before the end was known.",
  timeout: "The machine did not answer in time. What was asked may still happen.",
  no_space: "The server's storage is full.",
  internal: "Something went wrong inside the server.",
};

// What exactly is wrong is told by the server's own sentence.
const vagueErrors = new Set(["bad_request", "bad_name", "not_found"]);

/** Words for an answer of the server that is no success; status 0 where there was none at all. */
export function describeHttp(status: number, error: string, message: string): Problem {
  if (status === 0) return { text: "The server can't be reached." };
  const code = `HTTP ${status}`;
  const known = Object.hasOwn(httpErrors, error) ? httpErrors[error] : undefined;
  if (known && !vagueErrors.has(error)) return { text: known, code };
  const problem = { text: known ?? "The server answered with an error.", code };
  return message ? { ...problem, said: message } : problem;
}
