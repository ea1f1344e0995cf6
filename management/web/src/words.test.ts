import { beforeEach, expect, test } from "vitest";
import { type MachineInfo, machines, refused } from "./live/live_feed";
import { describeMachine, nameOf } from "./words";

const now = new Date().toISOString();
const machine: MachineInfo = {
  id: "machine-0001",
  name: "Desk",
  connected: true,
  enabled: true,
  sessions: 0,
  since: now,
};

beforeEach(() => {
  machines.value = [machine];
  refused.value = [];
});

test("a machine that was refused, is away or is switched off is told apart", () => {
  const kind = (more: Partial<MachineInfo>) => describeMachine({ ...machine, ...more }).kind;
  expect(kind({})).toBe("connected");
  expect(kind({ enabled: null })).toBe("connected");
  expect(kind({ enabled: false })).toBe("off");
  expect(kind({ connected: false, enabled: false })).toBe("away");
  refused.value = [{ id: machine.id, name: "whatever it says", at: now, count: 2 }];
  expect(kind({ connected: false })).toBe("refused");
  // Whoever claims the name of a machine that is here does not change what is known of it.
  expect(kind({})).toBe("connected");
  expect([nameOf(machine.id), nameOf("unknown")]).toEqual(["Desk", "unknown"]);
});
