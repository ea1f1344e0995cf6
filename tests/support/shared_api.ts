import { inject } from "vitest";
import { Api } from "./api.ts";

// The stack that runs for all test files.
export function sharedApi(): Api {
  return new Api(inject("address"), inject("token"));
}
