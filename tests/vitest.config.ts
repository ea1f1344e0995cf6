import { defineConfig } from "vitest/config";

// One machine, one stack: the files run one after the other. Nothing is measured in time; the limit
// only keeps a hanging test from holding up a run for ever.
export default defineConfig({
  test: {
    globalSetup: ["tests/support/shared_stack.ts"],
    fileParallelism: false,
    testTimeout: 300_000,
    hookTimeout: 900_000,
  },
});
