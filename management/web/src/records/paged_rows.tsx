import type { ComponentChildren } from "preact";
import { More } from "../components/more";
import { ProblemNote } from "../components/problem_note";
import type { AnyList } from "./paged_list";

/** What is around the rows of a list: what is wrong with it, that it is empty, and its older part. */
export function PagedRows({
  list,
  nothing,
  children,
}: {
  list: AnyList;
  nothing: string;
  children: ComponentChildren;
}) {
  const problem = list.problem.value;
  const size = list.items.value.length;
  return (
    <>
      {problem && (
        <ProblemNote problem={problem}>
          <button type="button" class="button small" onClick={() => list.refresh()}>
            Try again
          </button>
        </ProblemNote>
      )}
      {size > 0 && children}
      {list.loaded.value && size === 0 && !problem && <p class="nothing">{nothing}</p>}
      {!list.loaded.value && !problem && <p class="nothing">Looking…</p>}
      {list.next.value !== null && !problem && <More key={size} onReached={() => list.older()} />}
    </>
  );
}
