import { existsSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import { parseArgs } from "node:util";
import { ClientAddresses } from "./http/client_addresses.ts";
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
  /** How large a file of the audit log gets, and how many older ones are kept. */
  audit: { maxBytes: number; maxFiles: number };
  /** Addresses and networks of proxies that say truly whom they speak for. */
  trustedProxies: string[];
  /** Where the server's own log goes; undefined is standard error. */
  logFile: string | undefined;
}

const DEFAULT_MAX_SIZE = 4 * 1024 ** 3;
const MIN_AUDIT_SIZE = 4096;

export const usage = `Usage: remote-access-server --data DIR [OPTIONS] SECRETS
The management server of RemoteAccess: machines and administrators come to it, and it has the page.
  --data DIR                  where machines, events, files and the audit log are kept
  --host ADDRESS              address to listen on (127.0.0.1)
  --port N                    port, 0 for any free one (8080)
  --web DIR                   the built page (the one that belongs to this program)
  --profile NAME[=MAXBYTES]   a storage profile and its largest file, once for each (default=${DEFAULT_MAX_SIZE})
  --audit-size BYTES          the audit log goes on in a new file from this size on, 10K, 10M or 1G too (10M)
  --audit-files N             so many older files of the audit log are kept (20)
  --log-file FILE             the server's own log, in place of standard error; a new one each 10 MiB, 5 older ones are kept
  --trusted-proxy ADDRESS     a proxy, or 10.0.0.0/8 a network of them, that is believed for whom it speaks; once for each
  --help, --version           tell this, or the version, and end
Secrets, each in one of the ways given:
  administrators' token       --token-file FILE, --token T, or REMOTE_ACCESS_TOKEN
  agents' enrolment key       --enrolment-key-file FILE or REMOTE_ACCESS_ENROLMENT_KEY
Exit code: 0 stopped by SIGINT or SIGTERM, 1 it could not start, 2 the options are wrong.`;

/** The options, or what to tell instead of starting. Throws with a sentence for the person at the command line. */
export function readCommandLine(
  args: string[],
  env: NodeJS.ProcessEnv,
): Options | { tell: "usage" | "version" } {
  const asked = ["--help", "-h", "--version"].find((option) => args.includes(option));
  if (asked) return { tell: asked === "--version" ? "version" : "usage" };
  return readOptions(args, env);
}

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
      "audit-size": { type: "string", default: "10M" },
      "audit-files": { type: "string", default: "20" },
      "log-file": { type: "string" },
      "trusted-proxy": { type: "string", multiple: true, default: [] },
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
    audit: readAuditSizes(values["audit-size"], values["audit-files"]),
    trustedProxies: checkedProxies(values["trusted-proxy"]),
    logFile: values["log-file"],
  };
}

function readAuditSizes(size: string, files: string): Options["audit"] {
  const [, number, unit = ""] = /^(\d{1,12})([KMG]?)$/.exec(size) ?? [];
  const maxBytes = Number(number) * 1024 ** ["", "K", "M", "G"].indexOf(unit);
  if (!(maxBytes >= MIN_AUDIT_SIZE)) throw new Error("--audit-size is 4096 or more, or as 10M.");
  if (!/^\d{1,5}$/.test(files)) throw new Error("--audit-files is a number from 0 to 99999.");
  return { maxBytes, maxFiles: Number(files) };
}

function checkedProxies(given: string[]): string[] {
  new ClientAddresses(given);
  return given;
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
