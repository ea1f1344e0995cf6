import { signal } from "@preact/signals";
import { type Problem, problemOf } from "../api/problem";

export interface Portion<T> {
  /** Newest first. */
  items: T[];
  /** What asks for the older ones; null where there are none. */
  next: number | null;
  /** How many there are in all, where that is known. */
  total?: number;
}

/** A list of whatever it is. */
export type AnyList = Pick<PagedList<unknown>, keyof PagedList<unknown>>;

/** A list that is fetched in portions, newest first, and kept while it is looked at anew. */
export class PagedList<T> {
  readonly items = signal<readonly T[]>([]);
  readonly total = signal<number | undefined>(undefined);
  readonly next = signal<number | null>(null);
  /** False until it has been fetched once. */
  readonly loaded = signal(false);
  readonly busy = signal(false);
  readonly problem = signal<Problem | undefined>(undefined);
  readonly #fetch: (before: number | undefined) => Promise<Portion<T>>;
  readonly #keyOf: (item: T) => number;
  #again = false;

  /** Keys fall from item to item. */
  constructor(
    fetch: (before: number | undefined) => Promise<Portion<T>>,
    keyOf: (item: T) => number,
  ) {
    this.#fetch = fetch;
    this.#keyOf = keyOf;
  }

  /** Fetches what is new. Resolves with the number of new items, undefined where that failed. */
  async refresh(): Promise<number | undefined> {
    this.#again = this.busy.value;
    if (this.#again) return undefined;
    const portion = await this.#ask(undefined);
    const added = portion && this.#join(portion);
    return this.#again ? this.refresh() : added;
  }

  /** Fetches the next older ones. */
  async older(): Promise<void> {
    const before = this.next.value;
    if (before === null || this.busy.value || this.problem.value) return;
    const portion = await this.#ask(before);
    if (portion) {
      this.items.value = [...this.items.value, ...portion.items];
      this.next.value = portion.next;
    }
    if (this.#again) await this.refresh();
  }

  async #ask(before: number | undefined): Promise<Portion<T> | undefined> {
    this.busy.value = true;
    try {
      const portion = await this.#fetch(before);
      this.problem.value = undefined;
      this.loaded.value = true;
      this.total.value = portion.total;
      return portion;
    } catch (error) {
      this.problem.value = problemOf(error);
      return undefined;
    } finally {
      this.busy.value = false;
    }
  }

  /** Puts the newest before those that are known, if they meet and are still the same; else they are all that is known. */
  #join({ items, next }: Portion<T>): number {
    const known = this.items.value;
    const [newest] = known;
    const meeting = newest
      ? items.findIndex((item) => this.#keyOf(item) === this.#keyOf(newest))
      : -1;
    const same = meeting >= 0 && JSON.stringify(items[meeting]) === JSON.stringify(newest);
    if (same) {
      this.items.value = [...items.slice(0, meeting), ...known];
      return meeting;
    }
    this.items.value = items;
    this.next.value = next;
    return items.length;
  }
}
