#!/usr/bin/env node
import { existsSync, readFileSync } from "node:fs";
import { type Options, readCommandLine, usage } from "./options.ts";
import { startServer } from "./server.ts";

const WRONG_USE = 2;

function optionsOrEnd(): Options {
  try {
    const options = readCommandLine(process.argv.slice(2), process.env);
    if (!("tell" in options)) return options;
    console.log(options.tell === "usage" ? usage : version());
    process.exit(0);
  } catch (error) {
    console.error(`${messageOf(error).replace(/\.$/, "")}; try --help`);
    process.exit(WRONG_USE);
  }
}

function version(): string {
  // Beside the package's folder with this program; there is none before it is packed.
  const file = new URL("../../package.json", import.meta.url);
  return existsSync(file) ? JSON.parse(readFileSync(file, "utf8")).version : "not packed";
}

function messageOf(error: unknown): string {
  return error instanceof Error ? error.message : String(error);
}

try {
  const server = await startServer(optionsOrEnd());
  console.log(`Listening on ${server.url}`);
  let stopping = false;
  for (const signal of ["SIGINT", "SIGTERM"] as const) {
    process.on(signal, async () => {
      if (stopping) return;
      stopping = true;
      await server.stop();
      process.exit(0);
    });
  }
} catch (error) {
  console.error(messageOf(error));
  process.exit(1);
}
