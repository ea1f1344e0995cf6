// Ends well as soon as the server lists COUNT machines as connected, and with 1 after a minute without:
//   node await-machines.mjs ADDRESS TOKEN-FILE COUNT
import { readFileSync } from "node:fs";
import { setTimeout as delay } from "node:timers/promises";

const [address, tokenFile, count] = process.argv.slice(2);
const headers = { authorization: `Bearer ${readFileSync(tokenFile, "utf8").trim()}` };
const deadline = Date.now() + 60_000;

async function connected() {
  const answer = await fetch(`${address}/api/machines`, { headers });
  if (!answer.ok) throw new Error(`The server answers ${answer.status} to GET /api/machines`);
  return (await answer.json()).filter((machine) => machine.connected).length;
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
