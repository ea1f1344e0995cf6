import { readOptions, usage } from "./options.ts";
import { startServer } from "./server.ts";

try {
  const server = await startServer(readOptions(process.argv.slice(2), process.env));
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
  console.error(error instanceof Error ? error.message : error);
  console.error(usage);
  process.exit(1);
}
