import { ProblemWords } from "../components/problem_note";
import { nameOf } from "../words";
import { describeAction, describeResult, describeWho } from "../words_of_audit";
import { type AuditEntry, withoutBegun } from "./audit";
import { RecordTime } from "./record_time";

/** Actions of administrators, newest first. Within one machine its column is left out. */
export function AuditTable({
  entries,
  ofMachine,
  onWho,
}: {
  entries: readonly AuditEntry[];
  ofMachine?: boolean;
  /** Somebody was chosen, to see only what he did. */
  onWho?: (who: string) => void;
}) {
  return (
    <div class="table-scroll">
      <table class="records">
        <caption class="visually-hidden">What administrators did, newest first</caption>
        <thead>
          <tr>
            <th scope="col">Time</th>
            <th scope="col">Who</th>
            <th scope="col" class="wide">
              From
            </th>
            {!ofMachine && <th scope="col">Machine</th>}
            <th scope="col">Action</th>
            <th scope="col">Result</th>
          </tr>
        </thead>
        <tbody>
          {withoutBegun(entries).map((entry) => (
            <AuditRow key={entry.seq} entry={entry} ofMachine={ofMachine ?? false} onWho={onWho} />
          ))}
        </tbody>
      </table>
    </div>
  );
}

function AuditRow({
  entry,
  ofMachine,
  onWho,
}: {
  entry: AuditEntry;
  ofMachine: boolean;
  onWho: ((who: string) => void) | undefined;
}) {
  const { text, names } = describeAction(entry);
  const result = describeResult(entry);
  const who = describeWho(entry.who);
  return (
    <tr>
      <td class="when">
        <RecordTime at={entry.at} exact={!ofMachine} />
      </td>
      <td class="who">
        {onWho ? (
          <button
            type="button"
            class="plain"
            title={`Show only ${who}`}
            onClick={() => onWho(entry.who)}
          >
            {who}
          </button>
        ) : (
          who
        )}
      </td>
      <td class="mono wide">{entry.from}</td>
      {!ofMachine && (
        <td class="machine-cell" title={entry.machine}>
          {entry.machine && nameOf(entry.machine)}
        </td>
      )}
      <td class="action">
        {text}
        {names && <code>{names}</code>}
      </td>
      <td class="result">
        <span class={result.tone === "calm" ? undefined : result.tone}>{result.text}</span>
        {result.problem && (
          <span class="why">
            <ProblemWords problem={result.problem} />
          </span>
        )}
      </td>
    </tr>
  );
}
