import { signal } from "@preact/signals";
import { type Problem, problemOf, Refusal } from "../api/problem";
import { get } from "../api/server";
import { Backoff } from "./backoff";
import { EventText, type ServerSentEvent } from "./event_text";

export type FeedState =
  | { phase: "idle" | "connecting" | "live" }
  | { phase: "lost"; problem: Problem };

/**
 * A feed of server-sent events that is followed for as long as somebody holds it, again and again. A browser grants a server
 * few connections, which all its tabs share; so what nobody looks at is not followed.
 */
export abstract class Feed {
  readonly state = signal<FeedState>({ phase: "idle" });
  #holders = 0;
  #following: AbortController | undefined;

  protected abstract readonly path: string;

  /** Follows the feed until the result is called. */
  hold(): () => void {
    this.#holders++;
    if (!this.#following) {
      this.#following = new AbortController();
      this.#follow(this.#following.signal);
    }
    let held = true;
    return () => {
      if (!held) return;
      held = false;
      this.#holders--;
      if (this.#holders > 0) return;
      this.#following?.abort();
      this.#following = undefined;
    };
  }

  protected abstract take(events: ServerSentEvent[]): void;

  /** From where to go on. */
  protected get lastEventId(): string | undefined {
    return undefined;
  }

  async #follow(ended: AbortSignal): Promise<void> {
    const backoff = new Backoff(1000, 30_000);
    while (!ended.aborted) {
      this.state.value = { phase: "connecting" };
      let problem: Problem = { text: "The server ended the connection." };
      try {
        await this.#read(ended, () => backoff.reset());
      } catch (error) {
        if (error instanceof Refusal) problem = error.problem;
        else if (!(error instanceof TypeError)) problem = problemOf(error);
      }
      if (ended.aborted) break;
      this.state.value = { phase: "lost", problem };
      await new Promise<void>((resolve) => {
        setTimeout(resolve, backoff.next());
        ended.addEventListener("abort", () => resolve(), { once: true });
      });
    }
    // Another holder may have begun to follow anew meanwhile.
    if (!this.#following) this.state.value = { phase: "idle" };
  }

  async #read(ended: AbortSignal, onLive: () => void): Promise<void> {
    const headers: Record<string, string> = { accept: "text/event-stream" };
    if (this.lastEventId !== undefined) headers["last-event-id"] = this.lastEventId;
    const response = await get(this.path, { headers, signal: ended, cache: "no-store" });
    const reader = response.body?.pipeThrough(new TextDecoderStream()).getReader();
    if (ended.aborted) return;
    const text = new EventText();
    onLive();
    this.state.value = { phase: "live" };
    for (;;) {
      const piece = await reader?.read();
      if (!piece || piece.done || ended.aborted) return;
      const events = text.take(piece.value);
      if (events.length > 0) this.take(events);
    }
  }
}
