#!/usr/bin/env node
import { readFileSync } from "node:fs";
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
    console.error(messageOf(error));
    console.error("Try --help.");
    process.exit(WRONG_USE);
  }
}

function version(): string {
  const text = readFileSync(new URL("../package.json", import.meta.url), "utf8");
  return JSON.parse(text).version ?? "not packed";
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
