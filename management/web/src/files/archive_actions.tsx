import { useEffect, useRef, useState } from "preact/hooks";
import { type Problem, problemOf } from "../api/problem";
import { Icon } from "../components/icons";
import type { Job } from "../live/jobs_feed";
import { deleteArchive, isGone } from "./gone_archives";
import type { StoredArchive } from "./stored_archive";

/** What can be done with an archive that is on the server: take it, or delete it, which is asked for twice. */
export function ArchiveActions({
  upload,
  archive,
  title,
  label = "Download",
  onProblem,
}: {
  upload: Job;
  archive: StoredArchive;
  title: string;
  label?: string;
  onProblem(problem: Problem | undefined): void;
}) {
  const [asking, setAsking] = useState(false);
  if (isGone(upload)) return <span class="faint">Deleted</span>;
  if (asking) {
    return (
      <DeleteQuestion
        title={title}
        onKeep={() => setAsking(false)}
        onDelete={async () => {
          setAsking(false);
          onProblem(undefined);
          await deleteArchive(upload, archive).catch((error) => onProblem(problemOf(error)));
        }}
      />
    );
  }
  return (
    <>
      <a class="button small" href={archive.path} download aria-label={`${label} ${title}`}>
        <Icon name="save" size={14} /> {label}
      </a>
      <button
        type="button"
        class="small-icon"
        aria-label={`Delete ${title}`}
        title="Delete from the server"
        onClick={() => setAsking(true)}
      >
        <Icon name="bin" size={14} />
      </button>
    </>
  );
}

function DeleteQuestion({
  title,
  onKeep,
  onDelete,
}: {
  title: string;
  onKeep(): void;
  onDelete(): void;
}) {
  const keep = useRef<HTMLButtonElement>(null);
  useEffect(() => keep.current?.focus(), []);
  return (
    <>
      <button
        type="button"
        class="button small danger"
        aria-label={`Delete ${title} from the server`}
        onClick={onDelete}
      >
        Delete
      </button>
      <button ref={keep} type="button" class="button small" onClick={onKeep}>
        Keep
      </button>
    </>
  );
}
