import { mkdirSync } from "node:fs";
import { type Browser, chromium, type Page } from "playwright-core";
import { afterAll, beforeAll, expect, inject, test } from "vitest";
import { sharedApi } from "../support/shared_api.ts";

declare const window: {
  remoteAccess: { terminals: { state: { phase: string }; terminal: ScreenOwner }[] };
};
interface ScreenOwner {
  cols: number;
  buffer: {
    active: {
      length: number;
      getLine(row: number): { translateToString(trimmed: boolean): string } | undefined;
    };
  };
}

const screenshots = new URL("../screenshots/", import.meta.url).pathname;
const api = sharedApi();
let browser: Browser;
let page: Page;

beforeAll(async () => {
  mkdirSync(screenshots, { recursive: true });
  browser = await chromium.launch({
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
  page = await browser.newPage({ viewport: { width: 1280, height: 800 }, colorScheme: "light" });
  page.setDefaultTimeout(120_000);
  await page.goto(`${inject("address")}/?token=${inject("token")}`);
});

afterAll(() => browser.close());

const shot = (name: string) => page.screenshot({ path: `${screenshots}${name}.png` });
const front = () => page.getByRole("tab", { selected: true });

// What stands on the screen of the terminal with that number, counted from 0.
async function seeOnScreen(terminal: number, text: string): Promise<void> {
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

async function type(text: string): Promise<void> {
  await page.keyboard.type(text);
  await page.keyboard.press("Enter");
}

test("the address signs in once and forgets the token", async () => {
  expect(page.url()).toBe(`${inject("address")}/`);
  const stranger = await browser.newPage();
  await stranger.goto(inject("address"));
  expect(await stranger.locator("input").count()).toBe(1);
  await stranger.close();
});

test("a person opens a shell with the keyboard, types and reads", async () => {
  const { name } = await api.machine();
  await page.getByText(name).first().waitFor();
  await shot("machine");
  await page.keyboard.press("Control+Alt+t");
  await seeOnScreen(0, ">");
  await type("echo from^-the^-page");
  await seeOnScreen(0, "from-the-page");
  await shot("session-light");

  // The second one is a shell of its own; its size is that of the window.
  await page.keyboard.press("Control+Alt+t");
  await seeOnScreen(1, ">");
  const wide = await page.evaluate(() => window.remoteAccess.terminals[1]?.terminal.cols ?? 0);
  await page.setViewportSize({ width: 900, height: 700 });
  await page.waitForFunction(
    (before) => (window.remoteAccess.terminals[1]?.terminal.cols ?? 0) < before,
    wide,
  );
  await type("echo second^-shell");
  await seeOnScreen(1, "second-shell");
  await page.setViewportSize({ width: 1280, height: 800 });
  await api.machineThat((machine) => machine.sessions === 2);

  await page.emulateMedia({ colorScheme: "dark" });
  await shot("session-dark");
});

test("an ended session says why and opens again", async () => {
  await type("exit");
  await page.getByText("The shell has exited.").waitFor();
  await shot("session-ended");
  expect(await front().innerText()).toContain("ended");

  await page.keyboard.press("Enter");
  await page.waitForFunction(() => window.remoteAccess.terminals[1]?.state.phase === "open");
  await type("echo back^-again");
  await seeOnScreen(1, "back-again");

  await page.keyboard.press("Control+Alt+w");
  await page.keyboard.press("Control+Alt+w");
  await api.machineThat((machine) => machine.sessions === 0);
  expect(await page.getByRole("tab").count()).toBe(0);
});
