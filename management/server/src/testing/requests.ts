import { connect } from "node:net";

/** Sends bytes to a server as they are, and resolves with what it answered by the end of the connection. */
export class RawRequest {
  readonly socket;
  readonly answer: Promise<string>;

  constructor(url: string, head: string[]) {
    const { hostname, port } = new URL(url);
    this.socket = connect(Number(port), hostname);
    this.answer = new Promise((resolve) => {
      let text = "";
      this.socket.on("data", (data) => {
        text += data;
      });
      this.socket.on("error", () => {});
      this.socket.on("close", () => resolve(text));
    });
    this.socket.write([...head, "Host: localhost", "", ""].join("\r\n"));
  }
}

/** The body of a form with these fields and one file. */
export function formOf(fields: Record<string, string>, file: string | Blob, filename: string) {
  const form = new FormData();
  for (const [name, value] of Object.entries(fields)) form.append(name, value);
  form.append("file", typeof file === "string" ? new Blob([file]) : file, filename);
  return form;
}
