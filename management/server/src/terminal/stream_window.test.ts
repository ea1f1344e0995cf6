import { expect, test } from "vitest";
import { WINDOW_BYTES } from "../limits.ts";
import { StreamWindow } from "./stream_window.ts";

/** A window and the credit that it gives. */
function makeWindow(acknowledged: boolean) {
  const given: number[] = [];
  return { window: new StreamWindow(acknowledged, (bytes) => given.push(bytes)), given };
}

const KIB = 1024;

test("credit goes back in order, for what the reader has taken and, where it says so, consumed", () => {
  {
    const { window, given } = makeWindow(false);
    const parcels = [window.receive(WINDOW_BYTES, 0), window.receive(900 * KIB, 0)] as const;
    // One long last message may reach beyond the window, no more may follow it.
    expect(() => window.receive(1, 0)).toThrow(expect.objectContaining({ code: 1008 }));
    window.written(parcels[1]);
    expect(given).toEqual([]);
    window.written(parcels[0]);
    expect(given).toEqual([WINDOW_BYTES + 900 * KIB]);
    expect(() => {
      for (let i = 0; i < WINDOW_BYTES; i++) window.receive(1, 0);
    }).toThrow();
    window.dispose();
  }
  const { window, given } = makeWindow(true);
  window.written(window.receive(40 * KIB, 39 * KIB));
  expect(window.acknowledge(39 * KIB - 1)).toBe(true);
  expect(given).toEqual([]);
  expect(window.acknowledge(2)).toBe(false);
  expect(window.acknowledge(1)).toBe(true);
  expect(given).toEqual([40 * KIB]);
  // Without a reader everything counts as consumed, and after the end nothing is given.
  window.release();
  window.receive(60 * KIB, 60 * KIB);
  window.dispose();
  window.receive(70 * KIB, 70 * KIB);
  expect(given).toEqual([40 * KIB, 60 * KIB]);
});
