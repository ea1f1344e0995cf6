import type { Feed } from "../live/feed";
import { serverLink } from "../live/live_feed";
import { ProblemNote } from "./problem_note";

/** Says that a feed is interrupted, unless the whole server is away, which is said above everything. */
export function FeedNote({ feed }: { feed: Feed }) {
  const state = feed.state.value;
  if (state.phase !== "lost" || serverLink.value.state === "lost") return null;
  return <ProblemNote problem={state.problem} />;
}
