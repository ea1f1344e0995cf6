import type { ComponentChildren } from "preact";
import type { Problem } from "../api/problem";
import { Icon } from "./icons";

/** What went wrong, in words, with the code; beside it what can be done. */
export function ProblemNote({
  problem,
  children,
}: {
  problem: Problem;
  children?: ComponentChildren;
}) {
  return (
    <div class="problem-note" role="alert">
      <Icon name="warning" />
      <p>
        <ProblemWords problem={problem} />
      </p>
      {children && <div class="note-actions">{children}</div>}
    </div>
  );
}

export function ProblemWords({ problem: { text, code, said } }: { problem: Problem }) {
  return (
    <>
      {text}
      {said && <span class="said"> “{said}”</span>}
      {code !== undefined && (
        <span class="code">{typeof code === "number" ? `Code ${code}` : code}</span>
      )}
    </>
  );
}
