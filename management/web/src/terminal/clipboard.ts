import type { Terminal } from "@xterm/xterm";
import { announce } from "../announce";

const COPY_ON_SELECT = "copyOnSelect";

export function copiesOnSelect(): boolean {
  return localStorage.getItem(COPY_ON_SELECT) === "yes";
}

export function setCopiesOnSelect(on: boolean): void {
  localStorage.setItem(COPY_ON_SELECT, on ? "yes" : "no");
}

export async function copySelection(terminal: Terminal): Promise<void> {
  const text = terminal.getSelection();
  if (!text) return;
  await copyText(text);
  announce("Copied");
  terminal.focus();
}

export async function copyText(text: string): Promise<void> {
  try {
    await navigator.clipboard.writeText(text);
  } catch {
    copyByCommand(text);
  }
}

/** False when the browser does not let a page read the clipboard by itself. */
export async function pasteClipboard(terminal: Terminal): Promise<boolean> {
  try {
    terminal.paste(await navigator.clipboard.readText());
    return true;
  } catch {
    return false;
  } finally {
    terminal.focus();
  }
}

/** For a page that was not loaded over a secure connection, which has no clipboard of its own. */
function copyByCommand(text: string): void {
  const area = document.createElement("textarea");
  area.value = text;
  area.style.position = "fixed";
  document.body.append(area);
  area.select();
  document.execCommand("copy");
  area.remove();
}
