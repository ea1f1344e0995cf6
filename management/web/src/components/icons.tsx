import type { JSX } from "preact";
import type { MachineKind } from "../words";

const paths = {
  plus: "M8 3.5v9M3.5 8h9",
  close: "m4.5 4.5 7 7m0-7-7 7",
  help: "M8 1.8a6.2 6.2 0 1 0 0 12.4A6.2 6.2 0 0 0 8 1.8ZM6.3 6.4a1.8 1.8 0 1 1 2.5 1.8c-.5.3-.8.5-.8 1.1M8 11.3v.1",
  sun: "M8 5.3a2.7 2.7 0 1 0 0 5.4 2.7 2.7 0 0 0 0-5.4ZM8 1.6v1.2m0 10.4v1.2M1.6 8h1.2m10.4 0h1.2M3.5 3.5l.8.8m7.4 7.4.8.8m0-9-.8.8m-7.4 7.4-.8.8",
  moon: "M13.2 9.6A5.6 5.6 0 0 1 6.4 2.8a5.6 5.6 0 1 0 6.8 6.8Z",
  exit: "M9.5 3H4.2c-.7 0-1.2.5-1.2 1.2v7.6c0 .7.5 1.2 1.2 1.2h5.3M7 8h6.5m0 0-2.2-2.2M13.5 8l-2.2 2.2",
  menu: "M2.5 4.5h11M2.5 8h11M2.5 11.5h11",
  screen: "M2.2 3.5h11.6v7.2H2.2zM6 13.2h4M8 10.7v2.5",
  prompt: "m3.5 5 3 3-3 3M8.5 11h4",
  warning: "M8 2.6 14 13H2zM8 6.6v3M8 11.2v.1",
  done: "m3.5 8.4 3 3 6-6.6",
  send: "M8 13V3.5m0 0L4.2 7.3M8 3.5l3.8 3.8",
  fetch: "M8 3v9.5m0 0 3.8-3.8M8 12.5 4.2 8.7",
  folder:
    "M2 12.2V4.3c0-.5.3-.8.8-.8h3.1l1.6 1.8h5.7c.5 0 .8.3.8.8v6.1c0 .5-.3.8-.8.8H2.8c-.5 0-.8-.3-.8-.8Z",
  save: "M8 2.5v7.3m0 0 3-3m-3 3-3-3M2.8 10.6v1.8c0 .6.5 1.1 1.1 1.1h8.2c.6 0 1.1-.5 1.1-1.1v-1.8",
  bin: "M3 4.5h10M6.3 4.5v-1c0-.5.3-.8.8-.8h1.8c.5 0 .8.3.8.8v1m1.8 0-.5 7.7c0 .6-.5 1.1-1.1 1.1H6.1c-.6 0-1.1-.5-1.1-1.1l-.5-7.7",
  again: "M12.9 6.3A5.3 5.3 0 1 0 13.3 9M13.2 2.9v3.5H9.7",
  chevron: "m6 4 4 4-4 4",
  search: "M7 2.5a4.5 4.5 0 1 0 0 9 4.5 4.5 0 0 0 0-9Zm3.3 7.8 3.2 3.2",
  log: "M3.2 2.5h9.6v11H3.2zM5.6 5.5h4.8M5.6 8h4.8M5.6 10.5h2.8",
  copy: "M5.5 5.5h7v7h-7zM10.5 5.5v-2h-7v7h2",
} as const;

export function Icon({ name, size = 16 }: { name: keyof typeof paths; size?: number }) {
  return (
    <svg class="icon" width={size} height={size} viewBox="0 0 16 16" aria-hidden="true">
      <path d={paths[name]} />
    </svg>
  );
}

const stateShapes: Record<MachineKind, JSX.Element> = {
  connected: <circle cx="5" cy="5" r="4" fill="currentColor" />,
  off: <path d="M1.5 5h7" stroke="currentColor" stroke-width="2.4" stroke-linecap="round" />,
  away: <circle cx="5" cy="5" r="3.2" fill="none" stroke="currentColor" stroke-width="1.6" />,
  refused: (
    <path
      d="m2 2 6 6m0-6-6 6"
      stroke="currentColor"
      stroke-width="1.9"
      stroke-linecap="round"
      fill="none"
    />
  ),
};

/** A machine's state by shape and colour, so that colour alone never tells. */
export function StateMark({ kind }: { kind: MachineKind }) {
  return (
    <svg class={`state-mark ${kind}`} width="10" height="10" viewBox="0 0 10 10" aria-hidden="true">
      {stateShapes[kind]}
    </svg>
  );
}
