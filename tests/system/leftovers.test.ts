import { expect, inject, test } from "vitest";
import { standing as standingOf } from "../support/processes.ts";
import { sharedApi } from "../support/shared_api.ts";

const api = sharedApi();

const standing = () => standingOf(inject("data"));

async function useShells(count: number): Promise<void> {
  for (let done = 0; done < count; done++) {
    const shell = await api.shell();
    // Every fourth ends while its shell is still printing the first lines.
    if (done % 4 !== 3) await shell.echo(`session-${done}`);
    if (done % 4 === 0) {
      shell.type("exit\r");
      await shell.closed;
    } else if (done % 4 === 1) {
      shell.socket.terminate();
    } else {
      await shell.close();
    }
    await api.machineThat((machine) => machine.sessions === 0);
  }
}

test("a hundred sessions leave no process, thread or descriptor behind", async () => {
  await useShells(5);
  // The last console may still be on its way out.
  await expect
    .poll(() => standing().processes, { timeout: 60_000 })
    .not.toContain("winpty-agent.ex");
  const before = standing();
  await useShells(100);
  await expect.poll(() => standing().processes, { timeout: 60_000 }).toEqual(before.processes);
  const after = standing();
  expect(after.threads).toBeLessThanOrEqual(before.threads + 2);
  expect(after.descriptors).toBeLessThanOrEqual(before.descriptors + 4);
});
