import { signal } from "@preact/signals";
import { type Json, member, parse, text } from "../api/json";
import { machinePath } from "../api/server";
import type { ServerSentEvent } from "./event_text";
import { Feed } from "./feed";
import { perMachine } from "./per_machine";

export interface MachineEvent {
  id: number;
  /** When the server took it in. */
  at: string;
  name: string;
  payload: Json;
}

const MAX_EVENTS = 10_000;

/** All that is known to have happened on a machine, newest first. */
export class EventsFeed extends Feed {
  readonly events = signal<readonly MachineEvent[]>([]);
  protected readonly path: string;
  #lastId = 0;
  #arrived: MachineEvent[] = [];

  constructor(machineId: string) {
    super();
    this.path = `${machinePath(machineId)}/events?times`;
  }

  protected override get lastEventId(): string {
    return String(this.#lastId);
  }

  protected override take(events: ServerSentEvent[]): void {
    for (const { id, data } of events) {
      const number = Number(id);
      if (!(number > this.#lastId)) continue;
      this.#lastId = number;
      const event = parse(data);
      this.#arrived.push({
        id: number,
        at: text(event, "at"),
        name: text(event, "name"),
        payload: member(event, "payload"),
      });
    }
    // Thousands may come at once; they are shown together.
    setTimeout(() => this.#show());
  }

  #show(): void {
    if (this.#arrived.length === 0) return;
    const arrived = this.#arrived.reverse();
    this.#arrived = [];
    this.events.value = [...arrived, ...this.events.value].slice(0, MAX_EVENTS);
  }
}

export const eventsOf = perMachine((machineId) => new EventsFeed(machineId));
