import type { Registry } from "../machines/registry.ts";

const counters = {
  remote_access_terminals_opened_total: "Terminals that were opened.",
  remote_access_terminals_failed_total: "Terminals whose opening failed.",
  remote_access_calls_total: "Remote calls made for scripts.",
  remote_access_policy_calls_total: "Policy calls made.",
  remote_access_storage_received_bytes_total: "Bytes of files that came into the storage.",
  remote_access_storage_sent_bytes_total: "Bytes of files that went out of the storage.",
  remote_access_agents_refused_total: "Agents refused for a wrong enrolment key.",
  remote_access_audit_errors_total:
    "Attempts to write the audit log that failed; they are repeated.",
  remote_access_sign_ins_refused_total: "Sign-ins with a wrong token.",
} as const;

type Counter = keyof typeof counters;

/** What `GET /metrics` shows, in Prometheus' text form. */
export class Metrics {
  readonly #counts = new Map<Counter, number>();

  count(counter: Counter, by = 1): void {
    this.#counts.set(counter, (this.#counts.get(counter) ?? 0) + by);
  }

  render(registry: Registry): string {
    const { machines } = registry;
    const lines: string[] = [];
    const add = (name: string, type: string, help: string, value: number) =>
      lines.push(`# HELP ${name} ${help}`, `# TYPE ${name} ${type}`, `${name} ${value}`);
    for (const [name, help] of Object.entries(counters)) {
      add(name, "counter", help, this.#counts.get(name as Counter) ?? 0);
    }
    const connected = machines.filter((machine) => machine.connected).length;
    const open = machines.reduce((sum, machine) => sum + machine.state.sessions, 0);
    const events = machines.reduce((sum, machine) => sum + machine.events.lastId, 0);
    const cpu = process.cpuUsage();
    const cpuSeconds = (cpu.user + cpu.system) / 1e6;
    add("remote_access_machines_known", "gauge", "Machines that ever connected.", machines.length);
    add("remote_access_machines_connected", "gauge", "Machines connected now.", connected);
    add("remote_access_terminals_open", "gauge", "Terminals open now.", open);
    add("remote_access_events_total", "counter", "Events that machines told of.", events);
    add("process_resident_memory_bytes", "gauge", "Resident memory.", process.memoryUsage.rss());
    add("process_cpu_seconds_total", "counter", "Processor time.", cpuSeconds);
    return `${lines.join("\n")}\n`;
  }
}
