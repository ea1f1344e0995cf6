import { windowsName } from "./names";

/** A file that a person chose to send. */
export interface PickedFile {
  file: File;
  /** Where it goes below the target folder, as Windows can have it; its folders first. */
  path: string[];
}

/** That can be sent at once. */
export const MAX_FILES = 1000;

export function pickFiles(files: Iterable<File>): PickedFile[] {
  return [...files].map((file) => ({ file, path: [windowsName(file.name)] }));
}

/** What was dropped, with the files of dropped folders. To be called while the drop event is handled. */
export async function pickDropped(transfer: DataTransfer): Promise<PickedFile[]> {
  const entries = [...transfer.items].map((item) => item.webkitGetAsEntry());
  const files = [...transfer.files];
  if (!entries.some((entry) => entry?.isDirectory)) return pickFiles(files);
  const picked: PickedFile[] = [];
  for (const entry of entries) if (entry) await gather(entry, [], picked);
  return picked;
}

/** Both lists, where of two that would go to the same place the later one stays. */
export function withPicked(known: PickedFile[], more: PickedFile[]): PickedFile[] {
  const byPlace = new Map<string, PickedFile>();
  for (const picked of [...known, ...more]) {
    byPlace.set(picked.path.join("\\").toLowerCase(), picked);
  }
  return [...byPlace.values()];
}

async function gather(
  entry: FileSystemEntry,
  folders: string[],
  picked: PickedFile[],
): Promise<void> {
  if (picked.length > MAX_FILES) return; // That is too many, however many more there are.
  const path = [...folders, windowsName(entry.name)];
  if (entry.isFile) {
    const file = await new Promise<File>((resolve, reject) =>
      (entry as FileSystemFileEntry).file(resolve, reject),
    );
    picked.push({ file, path });
    return;
  }
  const reader = (entry as FileSystemDirectoryEntry).createReader();
  for (;;) {
    // A reader gives a folder's entries in portions, and an empty one at the end.
    const portion = await new Promise<FileSystemEntry[]>((resolve, reject) =>
      reader.readEntries(resolve, reject),
    );
    if (portion.length === 0) return;
    for (const child of portion) await gather(child, path, picked);
  }
}
