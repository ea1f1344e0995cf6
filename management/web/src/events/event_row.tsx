import { useState } from "preact/hooks";
import { Icon } from "../components/icons";
import type { MachineEvent } from "../live/events_feed";
import { moment } from "../words";
import { describeEvent, type EventKind } from "../words_of_events";

const icons: Record<EventKind, "send" | "fetch" | "prompt" | "help"> = {
  download: "send",
  upload: "fetch",
  process: "prompt",
  other: "help",
};

/** An event in a line; as it came, on demand. */
export function EventRow({ event, command }: { event: MachineEvent; command: string }) {
  const [open, setOpen] = useState(false);
  const words = describeEvent(event);
  return (
    <li class="event">
      <button type="button" class="event-line" aria-expanded={open} onClick={() => setOpen(!open)}>
        <span class={`event-icon ${words.tone}`}>
          <Icon name={icons[words.kind]} size={14} />
        </span>
        <span class="event-text">
          {words.text}
          {command && <code>{command}</code>}
        </span>
        <span class="event-time">{event.at && moment(event.at)}</span>
        <span class="event-id">#{event.id}</span>
      </button>
      {open && (
        <pre class="event-raw">
          {JSON.stringify({ name: event.name, payload: event.payload }, null, 2)}
        </pre>
      )}
    </li>
  );
}
