import { join } from "node:path";
import type { FastifyBaseLogger } from "fastify";
import { z } from "zod";
import type { AgentConnection } from "../agent/agent_connection.ts";
import { notFound } from "../errors.ts";
import { JobBoard } from "../jobs/job_board.ts";
import type { Limits } from "../limits.ts";
import { JsonFile } from "../persistence/json_file.ts";
import { EventLog } from "./event_log.ts";
import { Machine } from "./machine.ts";
import { Refusals } from "./refusals.ts";

const known = z.array(
  z.object({
    id: z.string(),
    name: z.string(),
    enabled: z.boolean().nullable(),
    since: z.iso.datetime(),
  }),
);

/** All machines that ever connected, kept across restarts, and who was refused. */
export class Registry {
  readonly refusals = new Refusals();
  readonly #machines = new Map<string, Machine>();
  readonly #file: JsonFile<z.infer<typeof known>>;
  readonly #followers = new Set<() => void>();
  readonly #dataDir: string;
  readonly #limits: Limits;
  readonly #log: FastifyBaseLogger;

  /** Throws when what was kept in `dataDir` can't be read. */
  constructor(dataDir: string, limits: Limits, log: FastifyBaseLogger) {
    this.#dataDir = dataDir;
    this.#limits = limits;
    this.#log = log;
    this.#file = new JsonFile(join(dataDir, "machines.json"), known, (error) =>
      log.error({ err: error }, "the list of machines could not be written"),
    );
    for (const entry of this.#file.read() ?? []) {
      this.#add({ ...entry, since: new Date(entry.since) });
    }
  }

  /** In the order of their first connection. */
  get machines(): Machine[] {
    return [...this.#machines.values()];
  }

  find(id: string): Machine | undefined {
    return this.#machines.get(id);
  }

  /** Throws ApiError not_found. */
  get(id: string): Machine {
    const machine = this.find(id);
    if (!machine) throw notFound("machine");
    return machine;
  }

  /** An agent has said hello. */
  attach(id: string, name: string, agent: AgentConnection, enabled: boolean): void {
    this.know(id, name).attach(agent, name, enabled);
  }

  /** The machine of an agent that was let in, new or not. */
  know(id: string, name: string): Machine {
    if (this.refusals.forget(id)) this.#tellFollowers();
    const known = this.#machines.get(id);
    if (known) return known;
    const machine = this.#add({ id, name, enabled: null, since: new Date() });
    this.#changed();
    return machine;
  }

  refuse(claimedId: string, claimedName: string): void {
    this.refusals.record(claimedId, claimedName);
    this.#tellFollowers();
  }

  /** Calls `follower` after each change of a machine or of the refusals; the result ends that. */
  follow(follower: () => void): () => void {
    this.#followers.add(follower);
    return () => this.#followers.delete(follower);
  }

  async flush(): Promise<void> {
    const { machines } = this;
    await Promise.all([
      this.#file.flush(),
      ...machines.map((machine) => machine.events.flush()),
      ...machines.map((machine) => machine.jobs.flush()),
    ]);
  }

  #add(entry: { id: string; name: string; enabled: boolean | null; since: Date }): Machine {
    const log = this.#log.child({ machine: entry.id });
    const events = new EventLog(join(this.#dataDir, "events", `${entry.id}.jsonl`), (error) =>
      log.error({ err: error }, "events could not be written"),
    );
    const jobs = new JobBoard(join(this.#dataDir, "jobs", `${entry.id}.json`), events, (error) =>
      log.error({ err: error }, "jobs could not be written"),
    );
    const machine = new Machine(entry, events, jobs, {
      limits: this.#limits,
      log,
      onChange: () => this.#changed(),
    });
    this.#machines.set(entry.id, machine);
    return machine;
  }

  #changed(): void {
    this.#file.write(() => this.#toKeep());
    this.#tellFollowers();
  }

  #toKeep(): z.infer<typeof known> {
    return this.machines.map(({ id, name, enabled, since }) => ({
      id,
      name,
      enabled,
      since: since.toISOString(),
    }));
  }

  #tellFollowers(): void {
    for (const follower of this.#followers) follower();
  }
}
