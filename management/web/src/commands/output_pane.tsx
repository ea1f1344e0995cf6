import { useMemo, useState } from "preact/hooks";
import { Icon } from "../components/icons";
import { ProblemWords } from "../components/problem_note";
import type { Job } from "../live/jobs_feed";
import { copyText } from "../terminal/clipboard";
import { outputOf } from "./run_output";

/** What a command wrote. */
export function OutputPane({ upload }: { upload: Job }) {
  // Once for as long as it is shown: what failed is asked for anew when it is opened again, not with each drawing.
  const output = useMemo(() => outputOf(upload), [upload.id]).value;
  const [copied, setCopied] = useState(false);
  if (output.phase === "loading") return <p class="run-waiting">Reading the output…</p>;
  if (output.phase === "failed") {
    return (
      <p class="run-problem">
        <ProblemWords problem={output.problem} />
      </p>
    );
  }
  if (!output.text) return <p class="run-waiting">The command wrote nothing.</p>;
  return (
    <div class="output">
      {/* biome-ignore lint/a11y/noNoninteractiveTabindex: it scrolls, also by the keyboard */}
      <section class="output-text" aria-label="Output" tabIndex={0}>
        <pre>{output.text}</pre>
      </section>
      <button
        type="button"
        class="small-icon output-copy"
        aria-label="Copy the output"
        title={copied ? "Copied" : "Copy the output"}
        onClick={async () => {
          await copyText(output.text);
          setCopied(true);
        }}
      >
        <Icon name={copied ? "done" : "copy"} size={14} />
      </button>
      {output.cut && (
        <p class="output-cut">
          There is more. This is the first megabyte; the archive has all of it.
        </p>
      )}
    </div>
  );
}
