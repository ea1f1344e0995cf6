import { effect, signal } from "@preact/signals";

export type Theme = "light" | "dark";

const system = matchMedia("(prefers-color-scheme: dark)");
const systemTheme = signal<Theme>(system.matches ? "dark" : "light");
const remembered = localStorage.getItem("theme");
const chosen = signal<Theme | undefined>(
  remembered === "light" || remembered === "dark" ? remembered : undefined,
);

system.addEventListener("change", () => {
  systemTheme.value = system.matches ? "dark" : "light";
});

export function currentTheme(): Theme {
  return chosen.value ?? systemTheme.value;
}

/** Changes to the other theme and remembers that; going back to the system's own forgets the choice. */
export function toggleTheme(): void {
  const next = currentTheme() === "dark" ? "light" : "dark";
  chosen.value = next === systemTheme.value ? undefined : next;
  if (chosen.value) localStorage.setItem("theme", chosen.value);
  else localStorage.removeItem("theme");
}

effect(() => {
  document.documentElement.dataset.theme = chosen.value ?? "";
});
