import { expect, test } from "vitest";
import { testProgram } from "../support/remote.ts";
import { sharedApi } from "../support/shared_api.ts";

const api = sharedApi();

test("a shell answers, takes a new size and ends when asked to", async () => {
  const shell = await api.shell({ cols: 100, rows: 30 });
  expect(shell.code).toBe(0);
  await shell.echo("marker-one");
  shell.resize(120, 40);
  await shell.until(() => shell.count("resize") === 1);
  expect(shell.messages.at(-1)?.content).toEqual({ cols: 120, rows: 40 });
  await shell.echo("marker-two");
  // In all of it nobody is an administrator.
  shell.type(`"${testProgram}" rights\r`);
  await shell.see("privileges SeChangeNotifyPrivilege", await shell.see("administrators refused"));

  expect(await shell.close()).toEqual({ code: 1000, reason: "closed" });
  expect(shell.count("streamStop")).toBe(1);
  await api.machineThat((machine) => machine.sessions === 0);
});

test("two shells are independent, and a stream id is taken only once", async () => {
  const [first, second] = [await api.shell(), await api.shell()];
  first.type("set who=first\r");
  second.type("set who=second\r");
  await first.echo("sync-first");
  await second.echo("sync-second");
  first.type("echo [%who%]\r");
  second.type("echo [%who%]\r");
  await first.see("[first]");
  await second.see("[second]");
  expect(first.output).not.toContain("[second]");

  const again = await api.rpc("OpenTerminal", JSON.stringify({ streamId: first.streamId }));
  expect(again).toMatchObject({ result: 0, code: 183 });
  await first.echo("still-alive");
  await Promise.all([first.close(), second.close()]);
});

test("a shell that exits ends its session once", async () => {
  const shell = await api.shell();
  await shell.echo("last-words");
  shell.type("exit\r");
  expect(await shell.closed).toEqual({ code: 1000, reason: "shellExited" });
  expect(shell.messages.map((message) => message.type)).toEqual(["opened", "streamStop"]);
  await api.machineThat((machine) => machine.sessions === 0);
});

test("inactivity ends a session, also one that a bare call has opened", async () => {
  const shell = await api.shell({ inactivityTimeout: 2 });
  expect(await shell.closed).toEqual({ code: 1000, reason: "inactivity" });
  expect(shell.count("streamStop")).toBe(1);

  const parameters = JSON.stringify({ streamId: "bare", inactivityTimeout: 2 });
  const opened = api.machineThat((machine) => machine.sessions === 1);
  expect(await api.rpc("OpenTerminal", parameters)).toMatchObject({ result: 0, code: 0 });
  await opened;
  await api.machineThat((machine) => machine.sessions === 0);
});

test("each row of the calls' table has its code", async () => {
  expect(await api.rpc("OpenTerminal", "no json {")).toEqual({ result: 0, code: 0, text: "" });
  expect(await api.rpc("OpenTerminal", "{}")).toMatchObject({ result: 0, code: 87 });
  expect(await api.rpc("Nope", "{}")).toEqual({ result: 0, code: 0, text: "" });
  expect(await api.rpc("GetCurrentPath", "{}", "remoteaccess")).toMatchObject({ result: 3 });
  const path = await api.rpc("GetCurrentPath", "{}");
  expect(path).toMatchObject({ result: 0, code: 50 });
  expect(JSON.parse(path.text)).toEqual({ code: 50, message: "not supported" });
  expect((await api.machine()).sessions).toBe(0);
});

test("hostile input ends at most its own session", async () => {
  const bystander = await api.shell();
  const deep = "[".repeat(5000);
  const ids = ['{"streamId":{"a":1}}', '{"streamId":["x"]}', '{"streamId":"","size":7}'];
  for (const parameters of [deep, "[1,2]", "5", ...ids]) {
    const { code } = await api.rpc("OpenTerminal", parameters);
    expect([0, 87]).toContain(code);
  }

  const sturdy = await api.shell({ cols: 0, rows: 99999 });
  expect(sturdy.code).toBe(0);
  for (const size of [0, 4294967295, 100000, -5]) sturdy.resize(size, size);
  sturdy.send({ type: "data", data: { encodedBuffer: "*not base64*" } });
  sturdy.resize(80, 24);
  await sturdy.echo("survived");
  await sturdy.close();

  await bystander.echo("undisturbed");
  await bystander.close();
  await api.machineThat((machine) => machine.sessions === 0);
});
