import { describeRecord } from "../words_of_history";
import type { HistoryRecord } from "./history";
import { RecordTime } from "./record_time";

/** A machine's own history, newest first, as whoever sits at it reads it. */
export function HistoryTable({ records }: { records: readonly HistoryRecord[] }) {
  return (
    <div class="table-scroll">
      <table class="records">
        <caption class="visually-hidden">The machine's own history, newest first</caption>
        <thead>
          <tr>
            <th scope="col" class="number">
              No.
            </th>
            <th scope="col">Time</th>
            <th scope="col">What happened</th>
          </tr>
        </thead>
        <tbody>
          {records.map((record) => (
            <HistoryRow key={record.sequence} record={record} />
          ))}
        </tbody>
      </table>
    </div>
  );
}

function HistoryRow({ record }: { record: HistoryRecord }) {
  const { title, details, tone } = describeRecord(record);
  return (
    <tr>
      <td class="number">{record.sequence}</td>
      <td class="when">
        <RecordTime at={record.time * 1000} />
      </td>
      <td class="action">
        <span class={tone === "calm" ? undefined : tone}>{title}</span>
        {details && <span class="why">{details}</span>}
      </td>
    </tr>
  );
}
