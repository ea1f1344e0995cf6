import { CloseCode, ProtocolError } from "../errors.ts";
import { WINDOW_BYTES } from "../limits.ts";

/** Output that was received and not yet consumed. */
export interface Parcel {
  bytes: number;
  chars: number;
  written: boolean;
}

// Credit goes back in portions, so that a flood does not cost a message each way for every read of the console; what a
// slow reader has consumed goes back after a second at the latest, long before the agent gives the stream up.
const CREDIT_PORTION = 32 * 1024;
const CREDIT_DELAY_MS = 1000;
// Bounds the book-keeping for output in tiny pieces, which weighs more here than its bytes.
const MAX_PARCELS = 16 * 1024;

/**
 * The account of one stream's output between the agent and the terminal's reader: how much is under way, and when the agent
 * may send more. Output is consumed, in order, once the reader's socket has taken it and, with acknowledgements, once the
 * reader has said so.
 */
export class StreamWindow {
  readonly #acknowledged: boolean;
  readonly #giveCredit: (bytes: number) => void;
  readonly #parcels: Parcel[] = [];
  #underWay = 0;
  #unacknowledged = 0;
  #ahead = 0;
  #owed = 0;
  #timer: NodeJS.Timeout | undefined;
  #released = false;

  constructor(acknowledged: boolean, giveCredit: (bytes: number) => void) {
    this.#acknowledged = acknowledged;
    this.#giveCredit = giveCredit;
  }

  /** `chars` is the part of the content that the reader acknowledges. Throws ProtocolError 1008 beyond the credit. */
  receive(bytes: number, chars: number): Parcel {
    // The agent may send as long as no more than the window is under way, so its last message may reach beyond it.
    if (this.#underWay > WINDOW_BYTES || this.#parcels.length >= MAX_PARCELS) {
      throw new ProtocolError(CloseCode.policy, "sent beyond the credit of a stream");
    }
    const parcel = { bytes, chars, written: false };
    this.#parcels.push(parcel);
    this.#underWay += bytes;
    this.#unacknowledged += chars;
    this.#settle();
    return parcel;
  }

  /** The reader's socket has taken the parcel. */
  written(parcel: Parcel): void {
    parcel.written = true;
    this.#settle();
  }

  /** The reader has consumed so many characters. False when that is more than was sent. */
  acknowledge(chars: number): boolean {
    if (!this.#acknowledged) return true;
    if (chars > this.#unacknowledged) return false;
    this.#unacknowledged -= chars;
    this.#ahead += chars;
    this.#settle();
    return true;
  }

  /** Nobody reads any more: everything, also what still comes, counts as consumed. */
  release(): void {
    this.#released = true;
    this.#settle();
  }

  /** The stream has ended: no credit is given from now on. */
  dispose(): void {
    clearTimeout(this.#timer);
    this.#owed = Number.NEGATIVE_INFINITY;
    this.#parcels.length = 0;
  }

  #settle(): void {
    let consumed = 0;
    for (const parcel of this.#parcels) {
      const done = parcel.written && (!this.#acknowledged || parcel.chars <= this.#ahead);
      if (!done && !this.#released) break;
      if (this.#acknowledged) this.#ahead -= parcel.chars;
      this.#underWay -= parcel.bytes;
      this.#owed += parcel.bytes;
      consumed++;
    }
    if (consumed === 0) return;
    this.#parcels.splice(0, consumed);
    if (this.#owed >= CREDIT_PORTION) this.#pay();
    else if (this.#owed > 0) this.#timer ??= setTimeout(() => this.#pay(), CREDIT_DELAY_MS);
  }

  #pay(): void {
    clearTimeout(this.#timer);
    this.#timer = undefined;
    this.#giveCredit(this.#owed);
    this.#owed = 0;
  }
}
