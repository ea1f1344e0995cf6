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

/** Tells pages of the machines' state. */
export class LiveFeed {
  readonly #registry: Registry;
  readonly #pages = new Set<EventStream>();
  #timer: NodeJS.Timeout | undefined;

  constructor(registry: Registry) {
    this.#registry = registry;
    registry.follow(() => {
      this.#timer ??= setTimeout(() => this.#tell(), GATHER_MS);
    });
  }

  add(reply: FastifyReply): void {
    const page = new EventStream(reply, () => this.#pages.delete(page));
    this.#pages.add(page);
    page.send(this.#state());
  }

  #tell(): void {
    this.#timer = undefined;
    if (this.#pages.size === 0) return;
    const state = this.#state();
    for (const page of this.#pages) page.send(state);
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
