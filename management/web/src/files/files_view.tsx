import { useState } from "preact/hooks";
import { MachineNotice } from "../components/machine_notice";
import { ProblemNote } from "../components/problem_note";
import type { MachineInfo } from "../live/live_feed";
import { useJobs } from "../live/use_jobs";
import { carriesFiles } from "./dropping";
import { FetchPanel } from "./fetch_panel";
import { pickDropped } from "./picked_files";
import { chooseProfile, currentProfile, loadProfiles, profiles, profilesProblem } from "./profiles";
import { SendPanel } from "./send_panel";
import { sendingOf } from "./sending";
import { TransferList } from "./transfer_list";

/** Files to and from a machine. They can be dropped anywhere. */
export function FilesView({ machine }: { machine: MachineInfo }) {
  const [over, setOver] = useState(false);
  const sending = sendingOf(machine.id);
  useJobs(machine.id);
  return (
    <section
      class={over ? "view dropping" : "view"}
      aria-label="Files"
      onDragOver={(event) => {
        if (!carriesFiles(event)) return;
        event.preventDefault();
        setOver(true);
      }}
      onDragLeave={(event) => {
        const into = event.relatedTarget as Node | null;
        if (!event.currentTarget.contains(into)) setOver(false);
      }}
      onDrop={async (event) => {
        setOver(false);
        if (!event.dataTransfer || !carriesFiles(event)) return;
        sending.add(await pickDropped(event.dataTransfer));
      }}
    >
      <div class="view-body two-columns">
        <div class="panels">
          <MachineNotice machine={machine} />
          {profilesProblem.value && (
            <ProblemNote problem={profilesProblem.value}>
              <button type="button" class="button" onClick={loadProfiles}>
                Try again
              </button>
            </ProblemNote>
          )}
          <ProfileChoice />
          <SendPanel machine={machine} />
          <FetchPanel machine={machine} />
        </div>
        <TransferList machineId={machine.id} />
      </div>
    </section>
  );
}

/** Shown only where there is a choice. */
function ProfileChoice() {
  const known = profiles.value ?? [];
  if (known.length < 2) return null;
  return (
    <label class="field inline">
      <span>Storage profile</span>
      <select
        value={currentProfile()?.name}
        onChange={(event) => chooseProfile(event.currentTarget.value)}
      >
        {known.map(({ name }) => (
          <option key={name}>{name}</option>
        ))}
      </select>
    </label>
  );
}
