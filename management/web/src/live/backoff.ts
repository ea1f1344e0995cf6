/** Waiting times between attempts: doubling from `firstMs` to `lastMs`, each shortened at random by up to a third. */
export class Backoff {
  readonly #firstMs: number;
  readonly #lastMs: number;
  #next: number;

  constructor(firstMs: number, lastMs: number) {
    this.#firstMs = firstMs;
    this.#lastMs = lastMs;
    this.#next = firstMs;
  }

  next(random: () => number = Math.random): number {
    const wait = this.#next;
    this.#next = Math.min(this.#lastMs, wait * 2);
    return wait * (1 - random() / 3);
  }

  reset(): void {
    this.#next = this.#firstMs;
  }
}
