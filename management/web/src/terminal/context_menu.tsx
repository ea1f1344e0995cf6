import { useEffect, useLayoutEffect, useRef } from "preact/hooks";
import { announce } from "../announce";
import type { Session } from "../sessions/session";
import { copiesOnSelect, copySelection, pasteClipboard, setCopiesOnSelect } from "./clipboard";

interface Item {
  text: string;
  /** Set apart from the items above. */
  apart?: boolean;
  keys?: string;
  checked?: boolean;
  disabled?: boolean;
  run(): void;
}

/** The menu of a terminal, at the pointer. */
export function ContextMenu({
  session,
  at,
  onClose,
}: {
  session: Session;
  at: { x: number; y: number };
  onClose(): void;
}) {
  const menu = useRef<HTMLDivElement>(null);

  useLayoutEffect(() => {
    const element = menu.current;
    if (!element) return;
    const { width, height } = element.getBoundingClientRect();
    element.style.left = `${Math.max(4, Math.min(at.x, innerWidth - width - 8))}px`;
    element.style.top = `${Math.max(4, Math.min(at.y, innerHeight - height - 8))}px`;
    element.querySelector<HTMLElement>("button:not(:disabled)")?.focus();
  }, [at]);

  useEffect(() => {
    const onPointerDown = (event: PointerEvent) => {
      if (!menu.current?.contains(event.target as Node)) onClose();
    };
    window.addEventListener("pointerdown", onPointerDown, { capture: true });
    window.addEventListener("blur", onClose);
    return () => {
      window.removeEventListener("pointerdown", onPointerDown, { capture: true });
      window.removeEventListener("blur", onClose);
    };
  }, [onClose]);

  return (
    <div
      ref={menu}
      class="menu"
      role="menu"
      tabIndex={-1}
      aria-label="Terminal"
      onKeyDown={(event) => onMenuKey(event, menu.current, onClose)}
      onContextMenu={(event) => event.preventDefault()}
    >
      {itemsOf(session).map((item) => (
        <button
          key={item.text}
          type="button"
          class={item.apart ? "apart" : ""}
          role={item.checked === undefined ? "menuitem" : "menuitemcheckbox"}
          {...(item.checked !== undefined && { "aria-checked": item.checked })}
          disabled={item.disabled}
          onClick={() => {
            onClose();
            item.run();
          }}
        >
          <span class="menu-check">{item.checked ? "✓" : ""}</span>
          {item.text}
          {item.keys && <span class="menu-keys">{item.keys}</span>}
        </button>
      ))}
    </div>
  );
}

function itemsOf(session: Session): Item[] {
  const { terminal } = session;
  const open = session.state.value.phase === "open";
  return [
    {
      text: "Copy",
      keys: "Ctrl+Shift+C",
      disabled: !terminal.hasSelection(),
      run: () => copySelection(terminal),
    },
    {
      text: "Paste",
      keys: "Ctrl+Shift+V",
      disabled: !open,
      run: async () => {
        if (!(await pasteClipboard(terminal))) announce("Press Ctrl+Shift+V to paste");
      },
    },
    { text: "Select all", apart: true, run: () => terminal.selectAll() },
    { text: "Clear scrollback", run: () => terminal.clear() },
    {
      text: "Copy on select",
      apart: true,
      checked: copiesOnSelect(),
      run: () => setCopiesOnSelect(!copiesOnSelect()),
    },
    { text: "End the session", apart: true, disabled: !open, run: () => session.stop() },
  ];
}

function onMenuKey(event: KeyboardEvent, menu: HTMLElement | null, onClose: () => void): void {
  if (event.key === "Escape" || event.key === "Tab") {
    event.preventDefault();
    return onClose();
  }
  const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
  if (!step || !menu) return;
  event.preventDefault();
  const items = [...menu.querySelectorAll<HTMLElement>("button:not(:disabled)")];
  const index = items.indexOf(document.activeElement as HTMLElement);
  items[(index + step + items.length) % items.length]?.focus();
}
