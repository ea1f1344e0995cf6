import { announce } from "../announce";
import { Icon } from "../components/icons";
import { count } from "../words_of_sizes";
import type { AnyList } from "./paged_list";

/** Looks at lists anew, and says aloud what came of it. */
export function RefreshButton({ lists, one }: { lists: AnyList[]; one: string }) {
  const refresh = async () => {
    const added = await Promise.all(lists.map((list) => list.refresh()));
    if (added.includes(undefined)) return; // What is wrong is told where it is shown.
    const sum = added.reduce<number>((all, number) => all + (number ?? 0), 0);
    announce(
      sum === 0 ? "Nothing new" : count(sum, `new ${one}`, `new ${one.replace(/y$/, "ie")}s`),
    );
  };
  return (
    <button
      type="button"
      class="button small"
      disabled={lists.some((list) => list.busy.value)}
      onClick={refresh}
    >
      <Icon name="again" size={13} />
      Refresh
    </button>
  );
}
