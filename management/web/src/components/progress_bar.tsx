/** Real progress; without a value, that something goes on whose end is not known. */
export function ProgressBar({
  label,
  value,
  total,
}: {
  label: string;
  value?: number | undefined;
  total?: number | undefined;
}) {
  if (value === undefined || !total) return <progress class="progress" aria-label={label} />;
  return (
    <progress class="progress" aria-label={label} value={Math.min(value, total)} max={total} />
  );
}
