import { existsSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import { parseArgs } from "node:util";
import { checkName } from "./storage/names.ts";
import type { ProfileOptions } from "./storage/profile.ts";

export interface Options {
  host: string;
  port: number;
  dataDir: string;
  webDir: string;
  token: string;
  enrolmentKey: string;
  profiles: ProfileOptions[];
}

const DEFAULT_MAX_SIZE = 4 * 1024 ** 3;

export const usage = `Usage: node main.js --data DIR [--host ADDRESS] [--port N] [--web DIR] SECRETS
  --data DIR                  where machines, events, files and the audit log are kept
  --host ADDRESS              address to listen on (127.0.0.1)
  --port N                    port, 0 for any free one (8080)
  --web DIR                   the built page (beside this program)
  --profile NAME[=MAXBYTES]   a storage profile and its largest file, once for each (default=${DEFAULT_MAX_SIZE})
Secrets, each in one of the ways given:
  administrators' token       --token-file FILE, --token T, or REMOTE_ACCESS_TOKEN
  agents' enrolment key       --enrolment-key-file FILE or REMOTE_ACCESS_ENROLMENT_KEY`;

/** Throws with a sentence for the person at the command line. */
export function readOptions(args: string[], env: NodeJS.ProcessEnv): Options {
  const { values } = parseArgs({
    args,
    options: {
      host: { type: "string", default: "127.0.0.1" },
      port: { type: "string", default: "8080" },
      data: { type: "string" },
      web: { type: "string", default: fileURLToPath(new URL("../../web/dist", import.meta.url)) },
      profile: { type: "string", multiple: true, default: ["default"] },
      token: { type: "string" },
      "token-file": { type: "string" },
      "enrolment-key-file": { type: "string" },
    },
  });
  const port = Number(values.port);
  if (!/^\d+$/.test(values.port) || port > 65535) throw new Error("--port is 0 to 65535.");
  if (!values.data) throw new Error("--data is missing.");
  if (!existsSync(join(values.web, "index.html"))) {
    throw new Error(`There is no page in ${values.web}: build it, or name its folder with --web.`);
  }
  const token = readSecret(values["token-file"]) ?? values.token ?? env.REMOTE_ACCESS_TOKEN;
  if (!token)
    throw new Error("The token is missing: --token-file, --token or REMOTE_ACCESS_TOKEN.");
  const enrolmentKey = readSecret(values["enrolment-key-file"]) ?? env.REMOTE_ACCESS_ENROLMENT_KEY;
  if (!enrolmentKey) {
    throw new Error(
      "The enrolment key is missing: --enrolment-key-file or REMOTE_ACCESS_ENROLMENT_KEY.",
    );
  }
  return {
    host: values.host,
    port,
    dataDir: values.data,
    webDir: values.web,
    token,
    enrolmentKey,
    profiles: readProfiles(values.profile),
  };
}

function readProfiles(given: string[]): ProfileOptions[] {
  const profiles = given.map((text) => {
    // A plain word: it is a folder's name on any system.
    const [, name = "", size] = /^(\w[\w-]{0,63})(?:=(\d{1,15}))?$/.exec(text) ?? [];
    if (!name) throw new Error("--profile is NAME or NAME=MAXBYTES.");
    checkName(name);
    return { name, maxSize: size === undefined ? DEFAULT_MAX_SIZE : Number(size) };
  });
  const names = new Set(profiles.map(({ name }) => name.toLowerCase()));
  if (names.size < profiles.length) throw new Error("Two profiles have the same name.");
  return profiles;
}

function readSecret(path: string | undefined): string | undefined {
  if (path === undefined) return undefined;
  const secret = readFileSync(path, "utf8").trim();
  if (!secret) throw new Error(`${path} is empty.`);
  return secret;
}
