import { afterAll, inject } from "vitest";
import { Api } from "./api.ts";
import { Remote } from "./remote.ts";

// The stack that runs for all test files.
export function sharedApi(): Api {
  return new Api(inject("address"), inject("token"));
}

// Its machine, for the tests of one file.
export async function sharedRemote(): Promise<Remote> {
  const remote = await Remote.open(sharedApi(), inject("data"));
  afterAll(() => remote.close());
  return remote;
}
