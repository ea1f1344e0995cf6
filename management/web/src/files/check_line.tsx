import { useEffect, useState } from "preact/hooks";
import { Icon } from "../components/icons";
import { ProblemWords } from "../components/problem_note";
import { count, size } from "../words_of_sizes";
import type { PathCheck } from "./path_check";

const PATIENCE_MS = 3000;

/** What the machine says of a path, in a line below it. */
export function CheckLine({ check, id }: { check: PathCheck; id?: string }) {
  const more = id === undefined ? {} : { id };
  return (
    <p class={`check-line ${check.phase}`} aria-live="polite" {...more}>
      {check.phase === "asking" && <Asking since={check.since} />}
      {check.phase === "good" && (
        <>
          <Icon name="done" size={13} />
          {check.fileCount === undefined
            ? "The machine can take files there."
            : `${count(check.fileCount, "file")}, ${size(check.size ?? 0)}`}
        </>
      )}
      {check.phase === "bad" && (
        <>
          <Icon name="warning" size={13} />
          <span>
            <ProblemWords problem={check.problem} />
          </span>
        </>
      )}
    </p>
  );
}

/** A machine answers one question at a time, and a large folder takes it long. */
function Asking({ since }: { since: number }) {
  const [long, setLong] = useState(false);
  useEffect(() => {
    const timer = setTimeout(() => setLong(true), Math.max(0, since + PATIENCE_MS - Date.now()));
    return () => clearTimeout(timer);
  }, [since]);
  return (
    <>
      {long
        ? "Still asking. The machine answers one question after the other, and looks at every file."
        : "Asking the machine…"}
    </>
  );
}
