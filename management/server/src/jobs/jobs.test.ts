import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { expect, test } from "vitest";
import type { FakeIntegration } from "../testing/fake_integration.ts";
import { formOf } from "../testing/requests.ts";
import { KEY, TestServer } from "../testing/running_server.ts";
import type { Job } from "./job.ts";

const path = "/api/machines/machine-0001/jobs";
const jobsOf = async (server: TestServer) => (await (await server.fetch(path)).json()) as Job[];
const call = (server: TestServer, method: string, input: unknown) =>
  server.policy(method, JSON.stringify(input));

/** The machine tells what happened, and the server has taken it in. */
async function tell(machine: FakeIntegration, seq: number, name: string, data: unknown) {
  machine.event(seq, `RemoteAccess.${name}Finished`, data);
  await machine.acknowledged(seq);
}

test("a job is known from its call to its end, whatever comes first, and without its password", async () => {
  const server = await TestServer.start();
  const machine = await server.integration();
  machine.onPolicy = ({ input }) => ({
    output: { message: "started", jobId: input.jobId ?? "chosen", runContext: input.runContext },
  });
  const secret = { password: "hunter2", PASSWORD: ["hunter2"], postItems: [{ value: "hunter2" }] };
  await call(server, "GetEnabled", {});
  await call(server, "StartUploadArchive", { runContext: { id: 1.0 }, ...secret, items: [secret] });
  expect(await jobsOf(server)).toMatchObject([
    { kind: "upload", by: "token", status: 0, message: "started", jobId: "chosen", end: null },
  ]);
  await tell(machine, 1, "Upload", { jobId: "other", status: "success" });
  await tell(machine, 2, "Download", { jobId: "chosen", status: "success" });
  await tell(machine, 3, "Upload", { jobId: "chosen", status: "upload failed" });
  expect(await jobsOf(server)).toMatchObject([
    { input: { runContext: { id: 1 }, items: [{}] }, end: { status: "upload failed" } },
  ]);

  // A refused start that names the id of another job leaves that one alone.
  await call(server, "StartDownload", { jobId: "mine", runContext: 5 });
  machine.onPolicy = () => ({ status: 1375, output: { message: "in use", jobId: "mine" } });
  await call(server, "StartDownload", { jobId: "mine", runContext: 6 });
  await tell(machine, 4, "Download", { jobId: "mine", runContext: 5, status: "failed" });
  const [, ended, refused] = await jobsOf(server);
  expect(ended).toMatchObject({ phase: "ended", end: { status: "failed" } });
  expect(refused).toMatchObject({ phase: "refused", status: 1375, message: "in use", end: null });

  // The end comes before the answer.
  machine.onPolicy = () => null;
  machine.unread();
  const slow = call(server, "StartDownload", { runContext: [1, { a: null }] });
  const { id } = await machine.next("policy");
  await tell(machine, 5, "Download", { jobId: "early", runContext: [1, { a: null }] });
  machine.send({ type: "policyReply", id, status: 0, output: { message: "late" } });
  await slow;
  const last = (await jobsOf(server)).at(-1);
  expect(last).toMatchObject({ phase: "ended", jobId: "early", message: "late" });
  await server.stop();
  const file = readFileSync(join(server.dir, "data/jobs/machine-0001.json"), "utf8");
  expect(file).toContain('"early"');
  expect(file + server.log).not.toContain("hunter2");
});

test("a process run ends by its context, oldest first, and its upload is a job of its own", async () => {
  const server = await TestServer.start();
  const machine = await server.integration();
  machine.onPolicy = ({ id }) => ({ output: { pid: id } });
  for (const name of ["first", "second"]) {
    await call(server, "StartProcess", { runContext: "run", startUploadArchive: { name } });
  }
  const end = (exitCode: number, jobId: string, error = 0) => ({
    exitCode,
    runContext: "run",
    startUploadArchive: { output: { jobId, message: "" }, error },
  });
  await tell(machine, 1, "Upload", { jobId: "upload 1", status: "success" });
  await tell(machine, 2, "Process", end(3, "upload 1"));
  await tell(machine, 3, "Process", end(0, "upload 2", 4306));
  await tell(machine, 4, "Process", end(7, "nobody's"));
  const jobs = await jobsOf(server);
  expect(jobs).toMatchObject([
    { kind: "process", pid: 1, phase: "ended", jobId: null, end: { exitCode: 3 } },
    { kind: "process", pid: 2, phase: "ended", end: { exitCode: 0 } },
    { kind: "upload", phase: "ended", input: { name: "first" }, end: { status: "success" } },
  ]);
  expect(jobs[2]?.parent).toBe(jobs[0]?.id);

  // An end that is told again is not another run's.
  await call(server, "StartProcess", { runContext: "run", startUploadArchive: {} });
  await tell(machine, 5, "Process", end(3, "upload 1"));
  expect((await jobsOf(server)).at(-1)).toMatchObject({ kind: "process", phase: "running" });
});

test("transfers show in the job that they are for, however its context is written", async () => {
  const server = await TestServer.start();
  const machine = await server.integration();
  machine.onPolicy = ({ id }) => ({ output: { jobId: `job ${id}` } });
  await call(server, "StartDownload", { runContext: { run: "ü", password: "x" } });
  await call(server, "StartUploadArchive", { runContext: { run: "ü" } });
  await server.fetch("/api/storage/default/a", { method: "PUT", body: "12345" });
  const transfer = async (target: string, context: string, init: RequestInit = {}) => {
    const headers = {
      authorization: `Bearer ${KEY}`,
      "x-machine-id": "machine-0001",
      "x-run-context": Buffer.from(context).toString("base64"),
    };
    const response = await server.fetch(`/api/agent/storage/default${target}`, {
      ...init,
      headers,
    });
    await response.arrayBuffer();
  };
  for (const context of ['{"run":"another"}', "{", ""]) await transfer("/a", context);
  expect((await jobsOf(server)).map((job) => job.phase)).toEqual(["running", "running"]);
  await transfer("/a", ' {"run": "\\u00fc", "password": "x"}');
  await transfer("", '{"run":"ü"}', { method: "POST", body: formOf({}, "12345", "b.zip") });
  expect((await jobsOf(server)).map(({ phase, transfer }) => [phase, transfer])).toEqual([
    ["transferring", { name: "a", bytes: 5, total: 5 }],
    ["transferring", { name: "b.zip", bytes: 5, total: 5 }],
  ]);
});

test("jobs outlive both ends' restarts; those that a new run of the agent does not know are lost until their end comes", async () => {
  const server = await TestServer.start();
  const first = await server.integration();
  first.onPolicy = ({ input }) => ({ output: { jobId: input.jobId } });
  for (const jobId of ["a", "b"]) await call(server, "StartDownload", { jobId, runContext: 1 });
  await server.stop();
  const file = join(server.dir, "data/jobs/machine-0001.json");
  const before = readFileSync(file);
  await server.start();
  await tell(await server.integration(), 1, "Download", { jobId: "a" });
  await server.stop();
  writeFileSync(file, before); // As after a crash between the event and the jobs.
  await server.start();
  const phases = async () => (await jobsOf(server)).map((job) => job.phase);
  await server.integration();
  expect(await phases()).toEqual(["ended", "running"]);
  const anew = await server.integration({ instance: "run 2" });
  expect(await phases()).toEqual(["ended", "lost"]);
  await tell(anew, 2, "Download", { jobId: "b", status: "aborted" });
  expect((await jobsOf(server))[1]).toMatchObject({ phase: "ended", end: { status: "aborted" } });

  anew.onPolicy = () => ({ status: 87 });
  const long = Array.from({ length: 20_000 }, () => "a long list");
  await call(server, "StartDownload", { runContext: "kept", items: long });
  for (let i = 0; i < 199; i++) await call(server, "StartDownload", {});
  const jobs = await jobsOf(server);
  expect(jobs).toHaveLength(200);
  expect(jobs[0]?.input).toEqual({ runContext: "kept", shortened: true });
});

test("an answer that comes after its time still counts, one that cannot come any more is not waited for", async () => {
  const server = await TestServer.start({ callMs: 50 });
  const late = await server.integration();
  late.onPolicy = () => null;
  expect((await call(server, "StartProcess", {})).status).toBe(504);
  const { id } = await late.next("policy");
  late.send({ type: "policyReply", id, status: 0, output: { pid: 4000 } });
  await late.heard();
  expect((await jobsOf(server)).at(-1)).toMatchObject({ phase: "running", pid: 4000 });

  // With its connection the answer is lost, but not what becomes of the job.
  await call(server, "StartDownload", { runContext: 1 });
  const again = await server.integration();
  expect((await jobsOf(server)).map(({ phase }) => phase)).toEqual(["running", "lost"]);
  await tell(again, 1, "Download", { jobId: "a", runContext: 1 });
  expect((await jobsOf(server))[1]).toMatchObject({ phase: "ended", status: null, jobId: "a" });

  // Nor is that end, told again, the next one's with the same context.
  again.onPolicy = () => null;
  await call(server, "StartDownload", { runContext: 1 });
  await tell(again, 2, "Download", { jobId: "a", runContext: 1 });
  expect((await jobsOf(server))[2]).toMatchObject({ phase: "asked", jobId: null });
});
