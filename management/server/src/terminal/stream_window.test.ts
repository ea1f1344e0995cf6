import { expect, test } from "vitest";
import { WINDOW_BYTES } from "../limits.ts";
import { StreamWindow } from "./stream_window.ts";

/** A window that notes the credit it gives. */
function makeWindow(acknowledged: boolean) {
  const given: number[] = [];
  const window = new StreamWindow(acknowledged, (bytes) => given.push(bytes));
  const total = () => given.reduce((sum, bytes) => sum + bytes, 0);
  return { window, given, total };
}

const KIB = 1024;

test("credit goes back in portions and in the order of sending, for what the reader has taken", () => {
  const { window, given } = makeWindow(false);
  const parcels = Array.from({ length: 8 }, () => window.receive(16 * KIB, 0));
  for (const parcel of parcels.slice(1)) window.written(parcel);
  expect(given).toEqual([]);
  window.written(parcels[0] ?? expect.fail());
  expect(given).toEqual([128 * KIB]);
  window.dispose();
});

test("more than the window under way is a breach, one long last message is not", () => {
  const { window, total } = makeWindow(false);
  const parcels = [window.receive(WINDOW_BYTES, 0), window.receive(900 * KIB, 0)];
  expect(() => window.receive(1, 0)).toThrow(expect.objectContaining({ code: 1008 }));
  for (const parcel of parcels) window.written(parcel);
  expect(total()).toBe(WINDOW_BYTES + 900 * KIB);
  window.receive(1, 0);
  window.dispose();

  const tiny = makeWindow(false).window;
  expect(() => {
    for (let i = 0; i < WINDOW_BYTES; i++) tiny.receive(1, 0);
  }).toThrow();
});

test("with acknowledgements a parcel counts once it is both taken and acknowledged to its end", () => {
  const { window, total } = makeWindow(true);
  const first = window.receive(40 * KIB, 39 * KIB);
  window.written(first);
  expect(window.acknowledge(39 * KIB - 1)).toBe(true);
  expect(total()).toBe(0);
  expect(window.acknowledge(2)).toBe(false);
  expect(window.acknowledge(1)).toBe(true);
  expect(total()).toBe(40 * KIB);
  const second = window.receive(40 * KIB, 39 * KIB);
  expect(window.acknowledge(39 * KIB)).toBe(true);
  expect(total()).toBe(40 * KIB);
  window.written(second);
  expect(total()).toBe(80 * KIB);
  window.dispose();
});

test("without a reader everything counts as consumed, and after the end nothing is given", async () => {
  const { window, total } = makeWindow(true);
  window.receive(50 * KIB, 50 * KIB);
  window.release();
  window.receive(60 * KIB, 60 * KIB);
  expect(total()).toBe(110 * KIB);
  window.dispose();
  window.receive(60 * KIB, 60 * KIB);
  expect(total()).toBe(110 * KIB);

  // A little that a slow reader has consumed goes back too, only later.
  const given = new Promise<number>((resolve) => {
    const slow = new StreamWindow(false, resolve);
    slow.written(slow.receive(10, 0));
    slow.written(slow.receive(20, 0));
  });
  expect(await given).toBe(30);
});
