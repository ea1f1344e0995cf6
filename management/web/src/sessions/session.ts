import { type Signal, signal } from "@preact/signals";
import { FitAddon } from "@xterm/addon-fit";
import { Terminal } from "@xterm/xterm";
import { handleTerminalKey } from "../keyboard";
import { terminalOptions } from "../terminal/terminal_look";
import { type SessionEnd, TerminalLink } from "./terminal_link";

export type SessionState =
  | { phase: "opening" }
  | { phase: "open"; streamId: string; since: number }
  | { phase: "ended"; end: SessionEnd };

const SHOW_CURSOR = "\x1b[?25h";
const HIDE_CURSOR = "\x1b[?25l";

let lastId = 0;

/** One terminal tab: a screen, and the shell behind it, which may end and be opened again. */
export class Session {
  readonly id = `terminal-${++lastId}`;
  readonly machineId: string;
  /** Counts the terminals of one machine, for its title. */
  readonly number: number;
  readonly terminal: Terminal;
  readonly state: Signal<SessionState> = signal({ phase: "opening" });
  readonly size = signal({ cols: 0, rows: 0 });
  readonly #fit = new FitAddon();
  readonly #onEnd: (session: Session, end: SessionEnd) => void;
  #link: TerminalLink | undefined;

  constructor(
    machineId: string,
    number: number,
    onEnd: (session: Session, end: SessionEnd) => void,
  ) {
    this.machineId = machineId;
    this.number = number;
    this.#onEnd = onEnd;
    this.terminal = new Terminal(terminalOptions());
    this.terminal.write(HIDE_CURSOR);
    this.terminal.loadAddon(this.#fit);
    this.terminal.onData((text) => this.#link?.input(new TextEncoder().encode(text)));
    this.terminal.onBinary((text) =>
      this.#link?.input(Uint8Array.from(text, (character) => character.charCodeAt(0))),
    );
    this.terminal.onResize((size) => {
      this.size.value = size;
      this.#link?.resize(size.cols, size.rows);
    });
    this.terminal.attachCustomKeyEventHandler((event) => handleTerminalKey(event, this));
  }

  get title(): string {
    return `Terminal ${this.number}`;
  }

  /** Puts the screen into the page and opens the shell. */
  mount(element: HTMLElement): void {
    this.terminal.open(element);
    this.fit();
    this.open();
  }

  /** Gives the screen as many columns and rows as its element has room for. */
  fit(): void {
    const room = this.#fit.proposeDimensions();
    if (!room || Number.isNaN(room.cols) || Number.isNaN(room.rows)) return;
    const cols = Math.min(1000, Math.max(2, room.cols));
    const rows = Math.min(1000, Math.max(1, room.rows));
    this.terminal.resize(cols, rows);
    this.size.value = { cols, rows };
  }

  /** Opens the shell, or another one in the place of one that has ended. */
  open(): void {
    if (this.#link) {
      const line = `── opened again at ${new Date().toLocaleTimeString()} ──`;
      this.terminal.write(`\x1b[0m\r\n\x1b[2m${line}\x1b[0m\r\n\r\n`);
    }
    this.state.value = { phase: "opening" };
    const { cols, rows } = this.terminal;
    const path = `/api/machines/${this.machineId}/terminal?ack=1&cols=${cols}&rows=${rows}`;
    const url = new URL(path, location.href);
    url.protocol = url.protocol.replace("http", "ws");
    const link: TerminalLink = new TerminalLink(new WebSocket(url), {
      onOpened: (streamId) => {
        this.terminal.write(SHOW_CURSOR);
        this.state.value = { phase: "open", streamId, since: Date.now() };
        // The window may have changed while the shell was on its way.
        if (this.terminal.cols !== cols || this.terminal.rows !== rows) {
          link.resize(this.terminal.cols, this.terminal.rows);
        }
      },
      onOutput: (bytes, consumed) => this.terminal.write(bytes, consumed),
      onEnd: (end) => {
        this.terminal.write(HIDE_CURSOR);
        this.state.value = { phase: "ended", end };
        this.#onEnd(this, end);
      },
    });
    this.#link = link;
  }

  /** Asks for the end of the shell; the tab stays and says so. */
  stop(): void {
    this.#link?.stop();
  }

  /** The tab is closed. */
  dispose(): void {
    this.#link?.leave();
    this.terminal.dispose();
  }
}
