import { expect, inject, test } from "vitest";
import { openPage, seeOnScreen as seeOnScreenOf, shot } from "../support/browser.ts";
import { sharedApi } from "../support/shared_api.ts";

declare const window: {
  remoteAccess: { terminals: { state: { phase: string }; terminal: { cols: number } }[] };
};

const api = sharedApi();
const page = await openPage();

const front = () => page.getByRole("tab", { selected: true });
const seeOnScreen = (terminal: number, text: string) => seeOnScreenOf(page, terminal, text);

async function type(text: string): Promise<void> {
  await page.keyboard.type(text);
  await page.keyboard.press("Enter");
}

test("a person opens a shell with the keyboard, types and reads", async () => {
  expect(page.url(), "without the token").toBe(`${inject("address")}/`);
  const { name } = await api.machine();
  await page.getByText(name).first().waitFor();
  await shot(page, "machine");
  await page.keyboard.press("Control+Alt+t");
  await seeOnScreen(0, ">");
  await type("echo from^-the^-page");
  await seeOnScreen(0, "from-the-page");
  await shot(page, "session-light");

  // The second one is a shell of its own; its size is that of the window.
  await page.keyboard.press("Control+Alt+t");
  await seeOnScreen(1, ">");
  const wide = await page.evaluate(() => window.remoteAccess.terminals[1]?.terminal.cols ?? 0);
  await page.setViewportSize({ width: 900, height: 700 });
  await page.waitForFunction(
    (before) => (window.remoteAccess.terminals[1]?.terminal.cols ?? 0) < before,
    wide,
  );
  const endOf = async (part: string) => {
    const box = await page.locator(part).last().boundingBox();
    return box ? box.y + box.height : Number.NaN;
  };
  expect(await endOf(".xterm-screen"), "the last row").toBeLessThanOrEqual(await endOf(".stage"));
  await type("echo second^-shell");
  await seeOnScreen(1, "second-shell");
  await page.setViewportSize({ width: 1280, height: 800 });
  await api.machineThat((machine) => machine.sessions === 2);

  await page.emulateMedia({ colorScheme: "dark" });
  await shot(page, "session-dark");
});

test("an ended session says why and opens again", async () => {
  await type("exit");
  await page.getByText("The shell has exited.").waitFor();
  await shot(page, "session-ended");
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
