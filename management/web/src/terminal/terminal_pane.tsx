import { useEffect, useRef, useState } from "preact/hooks";
import { EndNotice } from "../components/end_notice";
import { helpShown } from "../keyboard";
import { route } from "../routing";
import type { Session } from "../sessions/session";
import { frontSession, selectedMachine } from "../sessions/sessions";
import { currentTheme } from "../theme";
import { copiesOnSelect, copySelection } from "./clipboard";
import { ContextMenu } from "./context_menu";
import { terminalTheme } from "./terminal_look";

const RESIZE_DELAY_MS = 80;

/** One terminal: its screen, which follows the room that it has, and what is to be said about its session. */
export function TerminalPane({ session }: { session: Session }) {
  const screen = useRef<HTMLDivElement>(null);
  const [menu, setMenu] = useState<{ x: number; y: number }>();
  const state = session.state.value;
  const shown =
    route.value.view === "shell" &&
    session === frontSession.value &&
    session.machineId === selectedMachine.value?.id;
  const theme = currentTheme();

  useEffect(() => {
    const element = screen.current;
    if (!element) return;
    session.mount(element);
    const selection = session.terminal.onSelectionChange(() => {
      if (copiesOnSelect()) copySelection(session.terminal);
    });
    // The size is told once it has settled: every change makes the machine draw its screen anew.
    let timer: ReturnType<typeof setTimeout> | undefined;
    const observer = new ResizeObserver(() => {
      clearTimeout(timer);
      timer = setTimeout(() => session.fit(), RESIZE_DELAY_MS);
    });
    observer.observe(element);
    return () => {
      clearTimeout(timer);
      observer.disconnect();
      selection.dispose();
    };
  }, [session]);

  useEffect(() => {
    if (shown && !helpShown.value) session.terminal.focus();
  }, [session, shown, helpShown.value]);

  useEffect(() => {
    session.terminal.options.theme = terminalTheme();
  }, [session, theme]);

  return (
    <div
      class={`pane ${state.phase}`}
      role="tabpanel"
      id={session.id}
      aria-labelledby={`${session.id}-tab`}
      hidden={!shown}
    >
      {state.phase === "opening" && <p class="opening">Opening a shell…</p>}
      {/* biome-ignore lint/a11y/noStaticElementInteractions: the screen itself, inside, takes the keys */}
      <div
        class="screen"
        ref={screen}
        onContextMenu={(event) => {
          if (event.shiftKey) return;
          event.preventDefault();
          setMenu({ x: event.clientX, y: event.clientY });
        }}
      />
      {state.phase === "ended" && <EndNotice session={session} end={state.end} />}
      {menu && (
        <ContextMenu
          session={session}
          at={menu}
          onClose={() => {
            setMenu(undefined);
            session.terminal.focus();
          }}
        />
      )}
    </div>
  );
}
