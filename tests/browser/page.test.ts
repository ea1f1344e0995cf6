import { type Browser, chromium, type Page } from "playwright-core";
import { afterAll, beforeAll, expect, inject, test } from "vitest";
import { sharedApi } from "../support/shared_api.ts";

let browser: Browser;
let page: Page;

beforeAll(async () => {
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
  page = await browser.newPage();
  await page.goto(`${inject("address")}/?token=${inject("token")}`);
});

afterAll(async () => {
  await browser.close();
});
