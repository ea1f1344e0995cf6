import { signal } from "@preact/signals";

/** The last change that somebody who does not see the page is to be told. */
export const announcement = signal("");

export function announce(text: string): void {
  announcement.value = text;
}
