import { expect, inject, test } from "vitest";
import { openPage, seeOnScreen, shot } from "../support/browser.ts";
import { sharedApi } from "../support/shared_api.ts";

const api = sharedApi();
const page = await openPage();

const row = (text: string) => page.getByRole("row").filter({ hasText: text }).first();

test("a session is in the machine's own history and in the audit log, without a reload", async () => {
  const { id } = await api.machine();
  await page.keyboard.press("Control+Alt+t");
  await seeOnScreen(page, 0, ">");
  await page.keyboard.press("Control+Alt+5");
  await row("Opened a shell").getByText("Done").waitFor();
  const own = page.getByRole("region", { name: "On the machine" });
  await own.getByText(/^\d+ records?$/).waitFor();
  const before = Number.parseInt(await own.getByRole("status").innerText(), 10);

  await page.keyboard.press("Control+Alt+1");
  await page.keyboard.press("Control+Alt+w");
  await page.keyboard.press("Control+Alt+5");
  await own.getByText(`${before + 1} record`).waitFor();
  await row("Administrator ended a remote shell connection")
    .getByText(/Session Ended/)
    .waitFor();
  await row("A shell ended")
    .getByText(/Closed from here/)
    .waitFor();
  await shot(page, "history");
  expect(page.url()).toBe(`${inject("address")}/#/${id}/history`);
});

test("the audit log shows everybody's actions with their results, filtered and by its address", async () => {
  const calls = `${api.address}/api/machines/nowhere-1/rpc`;
  for (let call = 0; call < 110; call++) {
    await fetch(`${calls}/Lost${call}`, { method: "POST", headers: api.headers });
  }
  await page.keyboard.press("Control+Alt+l");
  await page.getByRole("heading", { name: "Audit log" }).waitFor();
  await row("Lost109").getByText("There was no such thing.").waitFor();
  // The older ones come when the end of what is shown is in sight.
  await page.getByRole("button", { name: "Show more" }).scrollIntoViewIfNeeded();
  await row("The server started").waitFor();
  await shot(page, "audit");
  await page.getByText("Shells", { exact: true }).click();
  await row("Opened a shell").waitFor();
  await page.getByText("Only failed").click();
  await page.getByText("There is no such entry.").waitFor();
  await page.reload();
  await row("Lost109").getByRole("button", { name: "Token" }).click();
  await page.getByTitle("Show what everybody did").waitFor();
  expect(await page.getByRole("row").filter({ hasText: "Page " }).count()).toBe(0);
});
