import { useEffect } from "preact/hooks";
import type { Feed } from "./feed";

/** Follows a feed while the component is shown and its page is in sight. */
export function useFeed(feed: Feed): void {
  useEffect(() => {
    let release: (() => void) | undefined;
    const follow = () => {
      if (document.hidden) {
        release?.();
        release = undefined;
      } else {
        release ??= feed.hold();
      }
    };
    follow();
    document.addEventListener("visibilitychange", follow);
    return () => {
      document.removeEventListener("visibilitychange", follow);
      release?.();
    };
  }, [feed]);
}
