import { useEffect } from "preact/hooks";
import { findGoneArchives } from "../files/gone_archives";
import { loadProfiles } from "../files/profiles";
import { jobsOf } from "./jobs_feed";
import { useFeed } from "./use_feed";

/** Follows a machine's jobs while the component is shown, with what shows whether their files are still in the storage. */
export function useJobs(machineId: string): ReturnType<typeof jobsOf> {
  const feed = jobsOf(machineId);
  useFeed(feed);
  useEffect(() => {
    loadProfiles();
  }, []);
  const known = feed.loaded.value;
  useEffect(() => {
    if (known) findGoneArchives(feed.jobs.peek());
  }, [feed, known]);
  return feed;
}
