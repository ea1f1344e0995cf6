import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { onTestFinished } from "vitest";

/** A folder of this test, gone with it. */
export function temporaryFolder(): string {
  const dir = mkdtempSync(join(tmpdir(), "remote-access-"));
  onTestFinished(() => rmSync(dir, { recursive: true }));
  return dir;
}
