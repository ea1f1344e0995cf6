import type { FastifyReply } from "fastify";
import type { MachineState } from "../machines/machine.ts";
import type { Refusal } from "../machines/refusals.ts";
import type { Registry } from "../machines/registry.ts";
import { EventStream } from "./event_stream.ts";

/** What the page is told on each change, always as a whole. */
export interface LiveState {
  machines: Array<MachineState & { since: string }>;
  refused: Refusal[];
}

// Many changes at once, as when all agents come back after a restart, are told together.
const GATHER_MS = 50;

/** Tells pages of the machines' state. A page that reads slowly misses what was in between, never the last. */
export class LiveFeed {
  readonly #registry: Registry;
  /** Each page, and whether there is news that it has not been sent. */
  readonly #pages = new Map<EventStream, { behind: boolean }>();
  #timer: NodeJS.Timeout | undefined;

  constructor(registry: Registry) {
    this.#registry = registry;
    registry.follow(() => {
      this.#timer ??= setTimeout(() => this.#tell(), GATHER_MS);
    });
  }

  add(reply: FastifyReply): void {
    const page = { behind: true };
    const stream: EventStream = new EventStream(reply, {
      onReady: () => this.#send([stream]),
      onEnd: () => this.#pages.delete(stream),
    });
    this.#pages.set(stream, page);
    this.#send([stream]);
  }

  #tell(): void {
    this.#timer = undefined;
    for (const page of this.#pages.values()) page.behind = true;
    this.#send([...this.#pages.keys()]);
  }

  #send(streams: EventStream[]): void {
    let state: LiveState | undefined;
    for (const stream of streams) {
      const page = this.#pages.get(stream);
      if (!page?.behind || !stream.ready) continue;
      page.behind = false;
      state ??= this.#state();
      stream.send(state);
    }
  }

  #state(): LiveState {
    return {
      machines: this.#registry.machines.map((machine) => ({
        ...machine.state,
        since: machine.since.toISOString(),
      })),
      refused: this.#registry.refusals.list,
    };
  }
}
