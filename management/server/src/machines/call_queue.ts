import { busy, notConnected } from "../errors.ts";

interface Waiting {
  run(): void;
  refuse(error: Error): void;
}

/**
 * Lets one job run at a time, in order of arrival, since a machine takes its remote calls one by one: a slow call then costs
 * the callers behind it their turn, not their time limit.
 */
export class CallQueue {
  readonly #waiting: Waiting[] = [];
  readonly #capacity: number;
  #running = false;

  constructor(capacity: number) {
    this.#capacity = capacity;
  }

  /** Rejects with ApiError busy when the queue is full, not_connected when it was cleared, else as `job` does. */
  run<T>(job: () => Promise<T>): Promise<T> {
    if (this.#running && this.#waiting.length >= this.#capacity) return Promise.reject(busy());
    return new Promise<T>((resolve, reject) => {
      this.#waiting.push({
        run: () => {
          job()
            .then(resolve, reject)
            .finally(() => {
              this.#running = false;
              this.#next();
            });
        },
        refuse: reject,
      });
      this.#next();
    });
  }

  /** The machine is gone: nobody who waits gets a turn. The running job sees that by itself. */
  clear(): void {
    for (const waiting of this.#waiting.splice(0)) waiting.refuse(notConnected());
  }

  #next(): void {
    if (this.#running) return;
    const next = this.#waiting.shift();
    if (!next) return;
    this.#running = true;
    next.run();
  }
}
