import { busy, notConnected } from "../errors.ts";

interface Waiting {
  run(): void;
  refuse(error: Error): void;
}

/**
 * Lets so many jobs run at a time as a machine takes calls, in order of arrival: a slow call then costs the callers behind it
 * their turn, not their time limit.
 */
export class CallQueue {
  readonly #waiting: Waiting[] = [];
  readonly #capacity: number;
  readonly #atOnce: number;
  #running = 0;

  /** `capacity` is how many may wait. */
  constructor(capacity: number, atOnce = 1) {
    this.#capacity = capacity;
    this.#atOnce = atOnce;
  }

  /** Rejects with ApiError busy when the queue is full, not_connected when it was cleared, else as `job` does. */
  run<T>(job: () => Promise<T>): Promise<T> {
    if (this.#running >= this.#atOnce && this.#waiting.length >= this.#capacity) {
      return Promise.reject(busy());
    }
    return new Promise<T>((resolve, reject) => {
      this.#waiting.push({
        run: () => {
          job()
            .then(resolve, reject)
            .finally(() => {
              this.#running--;
              this.#next();
            });
        },
        refuse: reject,
      });
      this.#next();
    });
  }

  /** The machine is gone: nobody who waits gets a turn. A running job sees that by itself. */
  clear(): void {
    for (const waiting of this.#waiting.splice(0)) waiting.refuse(notConnected());
  }

  #next(): void {
    if (this.#running >= this.#atOnce) return;
    const next = this.#waiting.shift();
    if (!next) return;
    this.#running++;
    next.run();
  }
}
