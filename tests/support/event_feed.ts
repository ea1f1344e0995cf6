import { EventEmitter, once } from "node:events";
import { EventReader } from "../../management/server/src/testing/event_reader.ts";
import type { Api } from "./api.ts";
import type { Finished } from "./remote.ts";

export interface MachineEvent {
  id: number;
  name: string;
  payload: { data: Finished };
}

// The events of a machine from now on, or from after `since`, in the order of their coming.
export class EventFeed {
  readonly events: MachineEvent[] = [];
  private readonly stop = new AbortController();
  private readonly news = new EventEmitter();
  private ended = false;

  static async open(api: Api, machine: string, since?: number): Promise<EventFeed> {
    const feed = new EventFeed();
    const response = await api.request(`machines/${machine}/events`, {
      headers: since === undefined ? {} : { "Last-Event-ID": String(since) },
      signal: feed.stop.signal,
    });
    feed.read(new EventReader(response)).catch(() => {});
    return feed;
  }

  close(): void {
    this.stop.abort();
  }

  // Waits until an event is there that fits.
  async find(fits: (event: MachineEvent) => boolean): Promise<MachineEvent> {
    for (;;) {
      const found = this.events.find(fits);
      if (found) return found;
      if (this.ended) throw new Error("the feed of events has ended");
      await once(this.news, "more");
    }
  }

  async finished(kind: string, fits: (data: Finished) => boolean): Promise<Finished> {
    const event = await this.find(
      (each) => each.name === `RemoteAccess.${kind}` && fits(each.payload.data),
    );
    return event.payload.data;
  }

  private async read(feed: EventReader): Promise<void> {
    try {
      for (;;) {
        const { id, data } = await feed.next();
        this.events.push({ id: Number(id), ...data });
        this.news.emit("more");
      }
    } finally {
      this.ended = true;
      this.news.emit("more");
    }
  }
}
