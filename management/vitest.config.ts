import { defineConfig } from "vitest/config";

// Nothing is measured in time; the limit only keeps a hanging test from holding up a run for ever.
export default defineConfig({
  test: { testTimeout: 120_000, hookTimeout: 120_000 },
});
