import { goTo, hashOf, route, type View, views } from "../routing";

const titles: Record<View, string> = {
  shell: "Shell",
  files: "Files",
  commands: "Commands",
  events: "Events",
  history: "History",
};

/** The views of a machine, as addresses of their own. */
export function ViewNav({ machineId }: { machineId: string }) {
  return (
    <nav class="view-nav" aria-label="Views">
      {views.map((view, index) => (
        <a
          key={view}
          href={hashOf(machineId, view)}
          aria-current={view === route.value.view ? "page" : undefined}
          title={`Ctrl+Alt+${index + 1}`}
          onClick={(event) => {
            if (event.ctrlKey || event.metaKey || event.shiftKey) return;
            event.preventDefault();
            goTo(machineId, view);
          }}
        >
          {titles[view]}
        </a>
      ))}
    </nav>
  );
}
