import { expect, test } from "vitest";
import { TestServer } from "../testing/running_server.ts";

test("output reaches the client in order, and the machine's stop comes last", async () => {
  const server = await TestServer.start();
  const agent = await server.agent();
  const { client, stream } = await server.openTerminal("?cols=0&rows=5000");
  const { params } = await agent.next("rpc");
  expect(JSON.parse(params)).toEqual({ streamId: stream, size: { cols: 1, rows: 1000 } });
  for (let i = 0; i < 50; i++) agent.output(stream, `line ${i}`);
  agent.endStream(stream);
  for (let i = 0; i < 50; i++) {
    const { content } = await client.next("data");
    expect(Buffer.from(content.encodedBuffer, "base64").toString()).toBe(`line ${i}`);
  }
  expect(await client.next("streamStop")).toEqual({ type: "streamStop", content: { reason: 0 } });
  expect(await client.closed).toEqual({ code: 1000, reason: "shellExited" });
});
