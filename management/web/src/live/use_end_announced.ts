import { useEffect, useRef } from "preact/hooks";
import { announce } from "../announce";
import { isOver, type Job } from "./jobs_feed";

/** Says aloud when a job that is shown comes to its end. */
export function useEndAnnounced(job: Job, words: string): void {
  const over = isOver(job);
  const wasOver = useRef(over);
  useEffect(() => {
    if (over && !wasOver.current) announce(words);
    wasOver.current = over;
  }, [over, words]);
}
