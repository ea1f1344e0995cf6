import { type ChildProcess, spawn } from "node:child_process";
import { EventEmitter, once } from "node:events";
import { readFileSync } from "node:fs";
import { createInterface } from "node:readline";

export interface View {
  service: boolean;
  sessions: { id: string; name: string; description: string }[];
  banner: { sessions: { startTimestamp: number }[] };
  history: {
    size: number;
    newest?: { sequence: number; time: number; title: string; details: string };
  };
  language: string;
}

// The program of the person at the first machine of the run whose data folder is `data`.
function start(data: string, args: string[]): ChildProcess {
  const machine = `${data}/machine-1`;
  const configuration = `Z:${machine}/TsrConsole.exe.xml`.replaceAll("/", "\\");
  const program = `${process.cwd()}/build/release/bin/TsrConsole.exe`;
  return spawn("cmake/wine-run", [program, ...args, "/config", configuration], {
    env: {
      ...process.env,
      WINEPREFIX: `${machine}/prefix`,
      // The first program with a window decides which display all others of the machine have.
      DISPLAY: readFileSync(`${data}/run/display`, "utf8"),
      XAUTHORITY: `${data}/run/Xauthority`,
    },
    stdio: ["ignore", "pipe", "ignore"],
  });
}

// What the window would show, as it changes.
export class Console {
  readonly views: View[] = [];
  private readonly news = new EventEmitter();
  private ended = false;

  private constructor(private readonly child: ChildProcess) {
    if (!child.stdout) throw new Error("no output");
    const lines = createInterface(child.stdout);
    lines.on("line", (line) => {
      this.views.push(JSON.parse(line) as View);
      this.news.emit("more");
    });
    child.once("exit", () => {
      this.ended = true;
      this.news.emit("more");
    });
  }

  static open(data: string, language = "en"): Console {
    return new Console(start(data, ["/watch", "/language", language]));
  }

  // The first view that fits, of the one that is shown now and those that come.
  async see(fits: (view: View) => boolean): Promise<View> {
    for (let next = Math.max(0, this.views.length - 1); ; ) {
      for (; next < this.views.length; next++) {
        const view = this.views[next];
        if (view && fits(view)) return view;
      }
      if (this.ended) throw new Error(`it has ended; last: ${JSON.stringify(this.views.at(-1))}`);
      await once(this.news, "more");
    }
  }

  async close(): Promise<void> {
    this.child.kill("SIGTERM");
    while (!this.ended) await once(this.news, "more");
  }
}

// Whether the machine's history is as it was written, and what is said of it.
export async function verifyHistory(data: string): Promise<{ code: number | null; text: string }> {
  const child = start(data, ["/verify-history"]);
  let text = "";
  child.stdout?.on("data", (chunk: Buffer) => {
    text += chunk.toString();
  });
  const [code] = await once(child, "close");
  return { code, text };
}
