import type { ITerminalOptions, ITheme } from "@xterm/xterm";
import { currentTheme, type Theme } from "../theme";

const themes: Record<Theme, ITheme> = {
  dark: {
    background: "#11151b",
    foreground: "#d7dce4",
    cursor: "#84a7ff",
    cursorAccent: "#11151b",
    selectionBackground: "#34466e",
    selectionInactiveBackground: "#2a3347",
    black: "#1d232c",
    red: "#f2777a",
    green: "#8fce8a",
    yellow: "#e5c06e",
    blue: "#7ea8ff",
    magenta: "#cf9bf0",
    cyan: "#6fcfd3",
    white: "#c9d0da",
    brightBlack: "#6b7685",
    brightRed: "#ff9a9c",
    brightGreen: "#aee5a9",
    brightYellow: "#f3d58f",
    brightBlue: "#a5c3ff",
    brightMagenta: "#e0b8fa",
    brightCyan: "#95e2e5",
    brightWhite: "#f4f6f9",
  },
  light: {
    background: "#ffffff",
    foreground: "#22272f",
    cursor: "#2c5bd6",
    cursorAccent: "#ffffff",
    selectionBackground: "#cbdaf8",
    selectionInactiveBackground: "#e2e7f0",
    black: "#22272f",
    red: "#c0302c",
    green: "#1f7f3a",
    yellow: "#8f6400",
    blue: "#2456c9",
    magenta: "#8a3db0",
    cyan: "#0d7680",
    white: "#c3cad4",
    brightBlack: "#6b7482",
    brightRed: "#d8453f",
    brightGreen: "#2b944b",
    brightYellow: "#a97700",
    brightBlue: "#3d6fe0",
    brightMagenta: "#a355c9",
    brightCyan: "#1a8d98",
    brightWhite: "#eef1f5",
  },
};

/** How every terminal looks and behaves, in the theme of the moment. */
export function terminalOptions(): ITerminalOptions {
  return {
    allowProposedApi: false,
    // The console at the other end draws a screen and breaks lines itself.
    windowsPty: { backend: "winpty" },
    cursorBlink: false,
    cursorInactiveStyle: "outline",
    fontFamily: 'ui-monospace, "Cascadia Mono", Menlo, Consolas, "DejaVu Sans Mono", monospace',
    fontSize: 13,
    lineHeight: 1.25,
    scrollback: 10_000,
    // Programs choose colours for a dark console; on white some of them could not be read.
    minimumContrastRatio: 4.5,
    theme: terminalTheme(),
  };
}

export function terminalTheme(): ITheme {
  return themes[currentTheme()];
}
