export interface ServerSentEvent {
  id: string;
  data: string;
}

/** Takes the text of server-sent events in pieces of any length and gives the events that are whole. */
export class EventText {
  #rest = "";
  #id = "";

  take(piece: string): ServerSentEvent[] {
    const lines = (this.#rest + piece).split("\n");
    // An event ends with an empty line; what comes after the last one waits for its end.
    const lastEmpty = lines.lastIndexOf("", lines.length - 2);
    if (lastEmpty < 0) {
      this.#rest += piece;
      return [];
    }
    this.#rest = lines.slice(lastEmpty + 1).join("\n");
    const events: ServerSentEvent[] = [];
    let data: string[] = [];
    for (const line of lines.slice(0, lastEmpty + 1)) {
      if (line === "") {
        if (data.length > 0) events.push({ id: this.#id, data: data.join("\n") });
        data = [];
      } else if (line.startsWith("id:")) {
        this.#id = line.slice(3).trimStart();
      } else if (line.startsWith("data:")) {
        data.push(line.slice(line[5] === " " ? 6 : 5));
      }
    }
    return events;
  }
}
