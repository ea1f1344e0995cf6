// The storage of centralized_storage_test.cpp: an HTTP server on a free loopback port, whose number it tells the control
// port that it is given. The first part of a path says how it behaves; it keeps nothing but counts.
import { createServer } from "node:http";
import { connect } from "node:net";

const [, controlPort] = process.argv.slice(2);
const content = Buffer.alloc(1_000_000, "0123456789abcdef\n");
const requests = new Map(); // by path

// What each place answers to a GET; `count` is how often it was asked for that path before.
const places = {
  whole: (request, response) => {
    const body = request.url.endsWith("empty") ? "" : `${decodeURIComponent(request.url)}`;
    response.writeHead(200, { "Content-Length": Buffer.byteLength(body) }).end(body);
  },
  // Each connection brings a fifth of the file and breaks; a file that can be continued has a strong tag.
  breaking: (request, response) => {
    const start = Number(/^bytes=(\d+)-$/.exec(request.headers.range ?? "")?.[1] ?? 0);
    if (start > 0 && request.headers["if-range"] !== '"tag"') return response.writeHead(400).end();
    const headers = { "Content-Length": content.length - start, ETag: '"tag"' };
    if (start > 0) headers["Content-Range"] = `bytes ${start}-${content.length - 1}/${content.length}`;
    response.writeHead(start > 0 ? 206 : 200, headers);
    response.write(content.subarray(start, start + 200_000), () => {
      if (start + 200_000 < content.length) response.socket.destroy();
      else response.end();
    });
  },
  // Breaks once, ends once without an answer, and has another file then.
  changing: (request, response, count) => {
    if (count === 1) return response.socket.end();
    const body = count === 0 ? content : Buffer.from("changed");
    response.writeHead(200, { "Content-Length": body.length, ETag: `"${count}"` });
    if (count > 0) return response.end(body);
    response.write(body.subarray(0, 100_000), () => response.socket.destroy());
  },
  // Cannot be continued, and breaks now early, now late.
  restless: (_request, response, count) => {
    response.writeHead(200, { "Content-Length": content.length });
    response.write(content.subarray(0, count % 2 === 0 ? 1000 : 200_000), () => response.socket.end());
  },
  // Promises more than it has, each time.
  lying: (_request, response) => {
    response.writeHead(200, { "Content-Length": 100, ETag: '"tag"' });
    response.write("x".repeat(50), () => response.socket.end());
  },
  unsized: (_request, response) => response.writeHead(200).end("no length"),
  huge: (_request, response) => {
    response.writeHead(200, { "Content-Length": 5_000_000 });
    response.flushHeaders();
  },
  garbage: (_request, response) => response.socket.end("these are no headers\r\n\r\n"),
  // Begins, and never goes on.
  stalled: (request, response) => {
    if (request.url.endsWith("whole")) return places.whole(request, response);
    response.writeHead(200, { "Content-Length": content.length });
    response.write(content.subarray(0, 1000));
  },
  silent: () => {},
  binary: (_request, response) =>
    response.writeHead(500, { "Content-Type": "image/png" }).end(Buffer.from([0, 255, 1])),
  status: (request, response) => {
    const status = Number(request.url.split("/").pop());
    const body = JSON.stringify({ error: "word", status });
    response.writeHead(status, { "Content-Type": "application/json" }).end(body);
  },
  redirect: (_request, response) => response.writeHead(302, { Location: "../whole/redirected" }).end(),
  elsewhere: (request, response) =>
    response.writeHead(302, { Location: `http://localhost:${request.socket.localPort}/whole/x` }).end(),
  endless: (request, response) => response.writeHead(302, { Location: request.url }).end(),
};

// Tells what came: the headers that matter, the sum of the body's bytes and, of a short one, its text.
function answerPost(request, response) {
  let sum = 0;
  const [place] = request.url.split("/").slice(1);
  let size = 0;
  let text = "";
  if (place === "silent") return; // It does not even read.
  if (place === "moved" && !request.url.endsWith("?there")) {
    request.on("end", () => response.writeHead(307, { Location: "/moved?there" }).end()).resume();
    return;
  }
  request.on("data", (data) => {
    for (const byte of data) sum += byte;
    size += data.length;
    if (size < 4096) text += data.toString("latin1");
    if (place === "breaking" && size > 100_000) request.socket.destroy();
  });
  request.on("end", () => {
    const { authorization, "content-length": length, "x-machine-id": machine, "x-run-context": run } = request.headers;
    const status = place === "status" ? Number(request.url.split("/")[2]) : 201;
    const told = { authorization, length: Number(length), machine, run, size, sum, text };
    response.writeHead(status, { "Content-Type": "application/json" }).end(JSON.stringify(told));
  });
}

const http = createServer((request, response) => {
  const count = requests.get(request.url) ?? 0;
  requests.set(request.url, count + 1);
  if (request.method === "POST") answerPost(request, response);
  else places[request.url.split("/")[1]](request, response, count);
});
http.listen(0, "127.0.0.1", () => {
  const control = connect(Number(controlPort), "127.0.0.1", () => {
    control.write(`${http.address().port}\n`);
  });
  // The test's end is this process's end.
  control.on("error", () => {});
  control.on("close", () => process.exit());
  control.resume();
});
