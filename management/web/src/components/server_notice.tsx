import { useEffect, useState } from "preact/hooks";
import { followServer, serverLink } from "../live/live_feed";
import { Icon } from "./icons";

/** Shown while the server can't be reached. */
export function ServerNotice() {
  const link = serverLink.value;
  const [, setNow] = useState(0);
  const lost = link.state === "lost";
  useEffect(() => {
    if (!lost) return;
    const timer = setInterval(() => setNow(Date.now()), 1000);
    return () => clearInterval(timer);
  }, [lost]);
  if (link.state !== "lost") return null;
  const seconds = Math.max(1, Math.ceil((link.retryAt - Date.now()) / 1000));
  return (
    <div class="server-notice problem">
      <span class="end-icon">
        <Icon name="warning" />
      </span>
      <p>
        <strong>The server can't be reached.</strong> What you see may be out of date. Trying again
        in {seconds} s.
      </p>
      <button type="button" class="button" onClick={followServer}>
        Try now
      </button>
    </div>
  );
}
