/** A refusal that a caller of the HTTP door sees, as `{"error": word, "message": message}`. */
export class ApiError extends Error {
  constructor(
    readonly status: number,
    readonly word: string,
    message: string,
    /** The machine's own code, where it has said one. */
    readonly code?: number,
  ) {
    super(message);
  }

  get body(): { error: string; message: string; code?: number } {
    const { word: error, message, code } = this;
    return { error, message, ...(code !== undefined && { code }) };
  }
}

export const unauthorized = () =>
  new ApiError(401, "unauthorized", "A valid token or a signed-in session is needed.");
export const forbiddenOrigin = () =>
  new ApiError(403, "forbidden_origin", "The request comes from a page of another site.");
export const notFound = (what: string) => new ApiError(404, "not_found", `No such ${what}.`);
export const notConnected = () =>
  new ApiError(409, "not_connected", "The machine is not connected.");
export const badRequest = (message: string) => new ApiError(400, "bad_request", message);
export const tooLarge = () => new ApiError(413, "too_large", "The request is too large.");
export const busy = () => new ApiError(429, "busy", "Too many calls wait for this machine.");
export const machineFailed = (code: number) =>
  new ApiError(502, "machine_failed", `The machine answered with the code ${code}.`, code);
export const badAnswer = () =>
  new ApiError(502, "bad_answer", "What the machine answered cannot be understood.");
export const timedOut = () => new ApiError(504, "timeout", "The machine did not answer in time.");

/** WebSocket close codes used here; the first five are the standard's. */
export const CloseCode = {
  normal: 1000,
  goingAway: 1001,
  unsupportedData: 1003,
  malformed: 1007,
  policy: 1008,
  tooBig: 1009,
  internal: 1011,
  replaced: 4001,
} as const;

/** A peer broke the protocol: its connection is closed with this code and reason, and nothing else is touched. */
export class ProtocolError extends Error {
  constructor(
    readonly code: number,
    /** Reaches the peer; at most 123 bytes, never its own text. */
    readonly reason: string,
  ) {
    super(reason);
  }
}
