import { moment } from "../words";

/** When something was; to the second where that tells the order, else on demand. */
export function RecordTime({ at, exact = false }: { at: string | number; exact?: boolean }) {
  const date = new Date(at);
  if (!at || Number.isNaN(date.getTime())) return <span class="faint">not known</span>;
  return (
    <time dateTime={date.toISOString()} title={date.toLocaleString()}>
      {moment(at, { seconds: exact })}
    </time>
  );
}
