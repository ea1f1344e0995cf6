import { mkdirSync } from "node:fs";
import { chromium, type Page } from "playwright-core";
import { afterAll, inject } from "vitest";

declare const window: {
  remoteAccess: { terminals: { state: { phase: string }; terminal: ScreenOwner }[] };
};
interface ScreenOwner {
  buffer: {
    active: {
      length: number;
      getLine(row: number): { translateToString(trimmed: boolean): string } | undefined;
    };
  };
}

const screenshots = new URL("../screenshots/", import.meta.url).pathname;

// The page of the shared stack in a browser, signed in, for the tests of one file.
export async function openPage(): Promise<Page> {
  const browser = await chromium.launch({
    executablePath: "/usr/bin/chromium",
    args: [
      "--no-sandbox",
      "--disable-gpu",
      "--disable-quic",
      "--no-first-run",
      "--disable-background-networking",
      "--disable-component-update",
      "--disable-sync",
    ],
  });
  afterAll(() => browser.close());
  const page = await browser.newPage({
    viewport: { width: 1280, height: 800 },
    colorScheme: "light",
  });
  page.setDefaultTimeout(120_000);
  await page.goto(`${inject("address")}/?token=${inject("token")}`);
  return page;
}

export async function shot(page: Page, name: string): Promise<void> {
  mkdirSync(screenshots, { recursive: true });
  await page.screenshot({ path: `${screenshots}${name}.png` });
}

// Waits for a text on the screen of the terminal with that number, counted from 0.
export async function seeOnScreen(page: Page, terminal: number, text: string): Promise<void> {
  await page.waitForFunction(
    ([index, wanted]) => {
      const screen = window.remoteAccess.terminals[index as number]?.terminal.buffer.active;
      if (!screen) return false;
      const lines = Array.from({ length: screen.length }, (_, row) =>
        screen.getLine(row)?.translateToString(true),
      );
      return lines.join("\n").includes(wanted as string);
    },
    [terminal, text] as const,
  );
}
