import { useEffect, useRef } from "preact/hooks";
import type { Session } from "../sessions/session";
import {
  closeSession,
  frontSession,
  shownSessions,
  showSession,
  stepSession,
} from "../sessions/sessions";
import { Icon } from "./icons";

export function TabStrip() {
  return (
    <div class="tabs" role="tablist" aria-label="Terminals" onKeyDown={moveBetweenTabs}>
      {shownSessions.value.map((session) => (
        <Tab key={session.id} session={session} />
      ))}
    </div>
  );
}

function Tab({ session }: { session: Session }) {
  const inFront = session === frontSession.value;
  const { phase } = session.state.value;
  const tab = useRef<HTMLDivElement>(null);
  useEffect(() => {
    if (inFront) tab.current?.scrollIntoView({ block: "nearest", inline: "nearest" });
  }, [inFront]);
  return (
    <div ref={tab} class={`tab ${phase}`} role="presentation" data-front={inFront}>
      <button
        type="button"
        role="tab"
        id={`${session.id}-tab`}
        class="tab-title"
        aria-selected={inFront}
        aria-controls={session.id}
        tabIndex={inFront ? 0 : -1}
        onClick={() => showSession(session)}
        onAuxClick={(event) => {
          if (event.button === 1) closeSession(session);
        }}
      >
        <Icon name="prompt" size={14} />
        {session.title}
        {phase === "ended" && <span class="tab-ended">ended</span>}
      </button>
      <button
        type="button"
        class="tab-close"
        aria-label={`Close ${session.title}`}
        title="Close (Ctrl+Alt+W)"
        tabIndex={inFront ? 0 : -1}
        onClick={() => closeSession(session)}
      >
        <Icon name="close" size={12} />
      </button>
    </div>
  );
}

function moveBetweenTabs(event: KeyboardEvent): void {
  const step = ({ ArrowRight: 1, ArrowLeft: -1 } as const)[event.key as "ArrowRight"];
  if (!step || event.ctrlKey) return;
  event.preventDefault();
  stepSession(step);
  // The tab that is now in front is the one that can have the focus.
  requestAnimationFrame(() =>
    document.querySelector<HTMLElement>('[role="tab"][aria-selected="true"]')?.focus(),
  );
}
