// The server's end of win_http_transport_test.cpp: a WebSocket server on a free loopback port, whose number it tells the
// control port that it is given. It takes the key "right" only, tells what headers came, and does as the messages say.
import { createServer } from "node:http";
import { createRequire } from "node:module";
import { connect } from "node:net";

const [root, controlPort] = process.argv.slice(2);
const { WebSocketServer } = createRequire(`${root}/package.json`)("ws");

const http = createServer((_request, response) => response.writeHead(404).end());
const sockets = new WebSocketServer({ noServer: true });
http.on("upgrade", (request, socket, head) => {
  if (request.url === "/frozen") return; // Takes the request and never answers.
  if (request.headers.authorization !== "Bearer right") {
    socket.end("HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\n\r\n");
    return;
  }
  sockets.handleUpgrade(request, socket, head, (webSocket) => {
    webSocket.send(`${request.headers["x-machine-id"]} ${request.headers["x-machine-name"]}`);
    webSocket.on("message", (data, isBinary) => {
      const text = data.toString();
      if (text === "close") webSocket.close(4001, "replaced");
      else if (text === "terminate") webSocket.terminate();
      else if (text === "freeze") socket.pause();
      else if (text === "fragments") {
        webSocket.send("one ", { fin: false });
        webSocket.send("two", { fin: true });
      } else if (text === "too long") {
        webSocket.send("x".repeat(1024 * 1024 + 1));
        webSocket.send("after it");
      } else webSocket.send(isBinary ? "binary" : text);
    });
  });
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
