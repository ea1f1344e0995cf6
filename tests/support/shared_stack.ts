import type { TestProject } from "vitest/node";
import { Stack } from "./stack.ts";

declare module "vitest" {
  export interface ProvidedContext {
    address: string;
    token: string;
    data: string;
  }
}

// One stack for all test files of a run.
export default async function setup(project: TestProject): Promise<() => Promise<void>> {
  const stack = await Stack.start();
  project.provide("address", stack.address);
  project.provide("token", stack.token);
  project.provide("data", stack.data);
  return async () => {
    const code = await stack.stop();
    if (code !== 0) throw new Error(`./run ended with ${code}`);
  };
}
