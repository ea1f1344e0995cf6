import { useMemo, useState } from "preact/hooks";
import { FeedNote } from "../components/feed_note";
import { Icon } from "../components/icons";
import { More } from "../components/more";
import { eventsOf, type MachineEvent } from "../live/events_feed";
import { jobsOf } from "../live/jobs_feed";
import type { MachineInfo } from "../live/live_feed";
import { useFeed } from "../live/use_feed";
import { type EventKind, kindOf, searchTextOf } from "../words_of_events";
import { count } from "../words_of_sizes";
import { EndedJobs } from "./event_jobs";
import { EventRow } from "./event_row";

const PORTION = 150;

const kinds: Array<{ kind: EventKind | "all"; title: string }> = [
  { kind: "all", title: "All" },
  { kind: "download", title: "Sent" },
  { kind: "upload", title: "Fetched" },
  { kind: "process", title: "Commands" },
  { kind: "other", title: "Others" },
];

/** All that happened on a machine, newest first. */
export function EventsView({ machine }: { machine: MachineInfo }) {
  const feed = eventsOf(machine.id);
  useFeed(feed);
  useFeed(jobsOf(machine.id));
  const [kind, setKind] = useState<EventKind | "all">("all");
  const [search, setSearch] = useState("");
  const [shown, setShown] = useState(PORTION);
  const events = feed.events.value;
  const found = useMemo(() => filter(events, kind, search), [events, kind, search]);
  const state = feed.state.value;
  const jobs = jobsOf(machine.id).jobs.value;
  const ended = useMemo(() => new EndedJobs(jobs), [jobs]);
  return (
    <section class="view" aria-label="Events">
      <div class="view-body one-column">
        <search class="filters">
          <label class="search">
            <Icon name="search" size={14} />
            <input
              type="search"
              aria-label="Search events"
              placeholder="Search"
              value={search}
              onInput={(event) => {
                setSearch(event.currentTarget.value);
                setShown(PORTION);
              }}
            />
          </label>
          <fieldset class="chips">
            <legend class="visually-hidden">Kind of event</legend>
            {kinds.map((each) => (
              <label key={each.kind} class="chip">
                <input
                  type="radio"
                  name="event-kind"
                  class="visually-hidden"
                  checked={kind === each.kind}
                  onChange={() => {
                    setKind(each.kind);
                    setShown(PORTION);
                  }}
                />
                {each.title}
              </label>
            ))}
          </fieldset>
          <span class="faint" role="status">
            {found.length === events.length
              ? count(events.length, "event")
              : `${found.length.toLocaleString("en")} of ${count(events.length, "event")}`}
          </span>
        </search>
        <FeedNote feed={feed} />
        <ol class="events">
          {found.slice(0, shown).map((event) => (
            <EventRow key={event.id} event={event} command={ended.commandOf(event)} />
          ))}
        </ol>
        {found.length > shown && <More key={shown} onReached={() => setShown(shown + PORTION)} />}
        {state.phase === "live" && found.length === 0 && (
          <p class="nothing">
            {events.length === 0 ? "Nothing has happened yet." : "No event is like that."}
          </p>
        )}
      </div>
    </section>
  );
}

function filter(
  events: readonly MachineEvent[],
  kind: EventKind | "all",
  search: string,
): readonly MachineEvent[] {
  const words = search.toLowerCase().split(/\s+/).filter(Boolean);
  if (kind === "all" && words.length === 0) return events;
  return events.filter((event) => {
    if (kind !== "all" && kindOf(event) !== kind) return false;
    if (words.length === 0) return true;
    const text = searchTextOf(event);
    return words.every((word) => text.includes(word));
  });
}
