// Ends well as soon as COUNT machines are connected to the server and answer a policy method, and with 1 after a minute without:
//   node await-machines.mjs ADDRESS TOKEN-FILE COUNT
import { readFileSync } from "node:fs";
import { setTimeout as delay } from "node:timers/promises";

const [address, tokenFile, count] = process.argv.slice(2);
const headers = {
  authorization: `Bearer ${readFileSync(tokenFile, "utf8").trim()}`,
  "content-type": "application/json",
};
const deadline = Date.now() + 60_000;

async function connected() {
  const answer = await fetch(`${address}/api/machines`, { headers });
  if (!answer.ok) throw new Error(`The server answers ${answer.status} to GET /api/machines`);
  const machines = (await answer.json()).filter((machine) => machine.connected);
  const answers = await Promise.all(machines.map(({ id }) => reachesFeature(id)));
  return answers.filter(Boolean).length;
}

// The integration process has a connection of its own, and reaches the feature in the service.
async function reachesFeature(id) {
  const answer = await fetch(`${address}/api/machines/${id}/policy/GetEnabled`, {
    method: "POST",
    headers,
    body: "{}",
  });
  return answer.ok && (await answer.json()).status === 0;
}

try {
  while ((await connected()) < Number(count)) {
    if (Date.now() > deadline) throw new Error("A minute has passed");
    await delay(50);
  }
} catch (error) {
  console.error(error.message);
  process.exitCode = 1;
}
