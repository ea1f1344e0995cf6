import { useEffect, useRef } from "preact/hooks";

/** Stands below the last row that is shown, and asks for more when it comes into sight. */
export function More({ onReached }: { onReached(): void }) {
  const button = useRef<HTMLButtonElement>(null);
  useEffect(() => {
    const observer = new IntersectionObserver((entries) => {
      if (entries.some((entry) => entry.isIntersecting)) onReached();
    });
    if (button.current) observer.observe(button.current);
    return () => observer.disconnect();
  });
  return (
    <button ref={button} type="button" class="button quiet more" onClick={onReached}>
      Show more
    </button>
  );
}
