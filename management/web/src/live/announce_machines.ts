import { effect } from "@preact/signals";
import { announce } from "../announce";
import { describeMachine } from "../words";
import { loaded, machines, serverLink } from "./live_feed";

/** Says aloud what changed in the list of machines, and that the server is gone or back. */
export function announceMachines(): void {
  let known: Map<string, string> | undefined;
  effect(() => {
    if (!loaded.value) return;
    const now = new Map(machines.value.map((m) => [m.id, describeMachine(m).short]));
    for (const { id, name } of machines.value) {
      const words = now.get(id);
      if (known && words && words !== known.get(id)) announce(`${name}: ${words}`);
    }
    known = now;
  });

  let wasLost = false;
  effect(() => {
    const lost = serverLink.value.state === "lost";
    if (lost && !wasLost) announce("Connection to the server lost");
    if (wasLost && serverLink.value.state === "live") announce("Connection to the server is back");
    if (serverLink.value.state !== "connecting") wasLost = lost;
  });
}
