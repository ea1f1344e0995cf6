import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { mkdir } from "node:fs/promises";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { Writable } from "node:stream";
import { onTestFinished } from "vitest";
import { defaultLimits, type Limits } from "../limits.ts";
import type { Options } from "../options.ts";
import { type RunningServer, startServer } from "../server.ts";
import { FakeAgent, type FakeAgentOptions } from "./fake_agent.ts";
import { FakeIntegration, type FakeIntegrationOptions } from "./fake_integration.ts";
import { Peer } from "./peer.ts";

export const TOKEN = "token-of-the-test";
export const KEY = "key-of-the-test";
export const bearer = { authorization: `Bearer ${TOKEN}` };

/** The whole server on a free port with a data folder of its own, gone with the test. */
export class TestServer {
  readonly dir = mkdtempSync(join(tmpdir(), "remote-access-"));
  url = "";
  log = "";
  /** What the server is started with beyond the usual. */
  options: Partial<Options> = {};
  #server: RunningServer | undefined;

  static async start(
    limits: Partial<Limits> = {},
    options: Partial<Options> = {},
  ): Promise<TestServer> {
    const test = new TestServer();
    test.options = options;
    await mkdir(join(test.dir, "web"));
    writeFileSync(join(test.dir, "web/index.html"), "the page");
    writeFileSync(join(test.dir, "web/sign-in.html"), '<body data-state="asking">');
    onTestFinished(async () => {
      await test.stop();
      rmSync(test.dir, { recursive: true });
    });
    await test.start(limits);
    return test;
  }

  async start(limits: Partial<Limits> = {}): Promise<void> {
    const logTo = new Writable({
      write: (chunk, _encoding, done) => {
        this.log += chunk;
        done();
      },
    });
    this.#server = await startServer(
      {
        host: "127.0.0.1",
        port: 0,
        dataDir: join(this.dir, "data"),
        webDir: join(this.dir, "web"),
        token: TOKEN,
        enrolmentKey: KEY,
        audit: { maxBytes: 1024 * 1024, maxFiles: 20 },
        trustedProxies: [],
        logFile: undefined,
        ...this.options,
        profiles: [
          { name: "default", maxSize: 64 * 1024 * 1024 },
          { name: "small", maxSize: 1000 },
        ],
      },
      { limits: { ...defaultLimits, shutdownMs: 200, ...limits }, logTo },
    );
    this.url = this.#server.url;
  }

  async stop(): Promise<void> {
    const server = this.#server;
    this.#server = undefined;
    await server?.stop();
  }

  /** An agent that the server has taken in. */
  async agent(options: Partial<FakeAgentOptions> = {}): Promise<FakeAgent> {
    const agent = await FakeAgent.connect(this.url, { key: KEY, ...options });
    await agent.heard();
    return agent;
  }

  /** An integration connection that the server has taken in. */
  async integration(options: Partial<FakeIntegrationOptions> = {}): Promise<FakeIntegration> {
    const integration = await FakeIntegration.connect(this.url, { key: KEY, ...options });
    await integration.next("welcome");
    return integration;
  }

  policy(
    method: string,
    body: NonNullable<RequestInit["body"]> = "",
    id = "machine-0001",
  ): Promise<Response> {
    return this.fetch(`/api/machines/${id}/policy/${method}`, { method: "POST", body });
  }

  terminal(query = "", id = "machine-0001"): Promise<Peer> {
    return Peer.open(`${this.url}/api/machines/${id}/terminal${query}`, bearer);
  }

  /** A terminal that is open, and its stream id. */
  async openTerminal(query = "", id?: string): Promise<{ client: Peer; stream: string }> {
    const client = await this.terminal(query, id);
    const { content } = await client.next("opened");
    return { client, stream: content.streamId };
  }

  fetch(path: string, init: RequestInit = {}): Promise<Response> {
    return fetch(`${this.url}${path}`, { headers: bearer, redirect: "manual", ...init });
  }

  async machines(): Promise<unknown> {
    return (await this.fetch("/api/machines")).json();
  }

  call(method: string, body = "", query = "", id = "machine-0001"): Promise<Response> {
    return this.fetch(`/api/machines/${id}/rpc/${method}${query}`, { method: "POST", body });
  }
}
