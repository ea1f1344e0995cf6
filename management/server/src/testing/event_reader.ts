export interface ReceivedEvent {
  id?: string;
  // biome-ignore lint/suspicious/noExplicitAny: tests look into data of any shape.
  data: any;
}

/** Reads server-sent events one by one. */
export class EventReader {
  readonly #reader: ReadableStreamDefaultReader<string>;
  #text = "";

  constructor(response: Response) {
    if (!response.body) throw new Error(`no events: ${response.status}`);
    this.#reader = response.body.pipeThrough(new TextDecoderStream()).getReader();
  }

  /** The next event that has data; heart-beats are passed over. */
  async next(): Promise<ReceivedEvent> {
    for (;;) {
      const end = this.#text.indexOf("\n\n");
      if (end < 0) {
        const { value, done } = await this.#reader.read();
        if (done) throw new Error("the events have ended");
        this.#text += value;
        continue;
      }
      const fields = new Map(this.#text.slice(0, end).split("\n").map(splitField));
      this.#text = this.#text.slice(end + 2);
      const [id, data] = [fields.get("id"), fields.get("data")];
      if (data !== undefined) return { ...(id !== undefined && { id }), data: JSON.parse(data) };
    }
  }

  /** The first event from here on that is as wanted. */
  async find(wanted: (data: ReceivedEvent["data"]) => boolean): Promise<ReceivedEvent> {
    for (;;) {
      const event = await this.next();
      if (wanted(event.data)) return event;
    }
  }
}

function splitField(line: string): [string, string] {
  const colon = line.indexOf(": ");
  return [line.slice(0, colon), line.slice(colon + 2)];
}
