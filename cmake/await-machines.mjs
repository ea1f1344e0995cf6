// Waits for machines, for scripts that start some.
import { readFileSync } from "node:fs";
import { setTimeout as delay } from "node:timers/promises";

const usage = `Usage: node await-machines.mjs ADDRESS TOKEN-FILE COUNT
Waits until COUNT machines are connected to the server at ADDRESS and answer a policy method.
  --help    tell this
Exit code: 0 they are there, 1 they are not after a minute or the server cannot be asked, 2 an argument is wrong.`;

const given = process.argv.slice(2);
const [address, tokenFile, count] = given;
if (given.includes("--help") || given.includes("-h")) {
  console.log(usage);
  process.exit(0);
}
if (given.length !== 3 || !URL.canParse(address) || !/^\d{1,6}$/.test(count)) {
  console.error("ADDRESS, TOKEN-FILE and COUNT, a number, are needed; try --help");
  process.exit(2);
}
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
    await delay(200); // Each attempt that fails is in the server's audit log.
  }
} catch (error) {
  console.error(error.message);
  process.exitCode = 1;
}
