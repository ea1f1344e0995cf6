/** An agent that came with a wrong enrolment key, as it called itself. */
export interface Refusal {
  id: string;
  name: string;
  at: string;
  count: number;
}

const MAX_REFUSALS = 100;

/** The last agents that were refused, so that a wrong key can be told from a machine that is away. Claims, not facts. */
export class Refusals {
  readonly #refusals = new Map<string, Refusal>();

  record(claimedId: string, claimedName: string): void {
    const id = printable(claimedId, 64);
    const count = (this.#refusals.get(id)?.count ?? 0) + 1;
    this.#refusals.delete(id); // The newest stands last.
    this.#refusals.set(id, {
      id,
      name: printable(claimedName, 255),
      at: new Date().toISOString(),
      count,
    });
    const [oldest] = this.#refusals.keys();
    if (this.#refusals.size > MAX_REFUSALS && oldest !== undefined) this.#refusals.delete(oldest);
  }

  /** The machine has come with the right key. True if it had been refused before. */
  forget(id: string): boolean {
    return this.#refusals.delete(id);
  }

  get list(): Refusal[] {
    return [...this.#refusals.values()];
  }
}

/** Text of a stranger, fit to be shown: no control, format or line characters, and not too long. */
export function printable(text: string, length: number): string {
  return [...text.replace(/[\p{C}\p{Zl}\p{Zp}]/gu, "\uFFFD")].slice(0, length).join("");
}
