const deviceName = /^(con|prn|aux|nul|conin\$|conout\$|com[0-9¹²³]|lpt[0-9¹²³])(\.|$)/i;

/**
 * The name of a file as it is put into the storage. Nobody sees it but the storage, so it is plain ASCII: the name can travel
 * as an address without a doubt about its encoding. `prefix` keeps it apart from all others.
 */
export function storageName(prefix: string, name: string): string {
  const plain = name
    .normalize("NFKD")
    .replace(/[^0-9A-Za-z._-]+/g, "_")
    .replace(/\.{2,}/g, ".")
    .replace(/[._]+$/, "");
  const dot = plain.lastIndexOf(".");
  const extension = dot > 0 ? plain.slice(dot, dot + 20) : "";
  const stem = plain.slice(0, dot > 0 ? dot : undefined).slice(0, 100);
  return `${prefix}-${stem}${extension}`;
}

/** The name as Windows can have it. */
export function windowsName(name: string): string {
  const possible = new TextDecoder()
    .decode(new TextEncoder().encode(name))
    // biome-ignore lint/suspicious/noControlCharactersInRegex: those are what Windows refuses
    .replace(/[\u0000-\u001f<>:"/\\|?*]/g, "_")
    .replace(/[. ]+$/, "");
  if (!possible) return "_";
  return deviceName.test(possible) ? `_${possible}` : possible;
}

/** A path on the machine: the folder, then the rest. */
export function joinPath(folder: string, ...rest: string[]): string {
  return [folder.trim().replace(/[\\/]+$/, ""), ...rest].join("\\");
}

/** The last component of a path on the machine. */
export function baseName(path: string): string {
  const parts = path.split(/[\\/]/).filter(Boolean);
  return parts.at(-1) ?? path;
}

export function folderOf(path: string): string {
  const end = Math.max(path.lastIndexOf("\\"), path.lastIndexOf("/"));
  if (end < 0) return "";
  // The root of a drive keeps its separator.
  return path.slice(0, end === 2 && path[1] === ":" ? 3 : end);
}

/** A name for an archive of today that sorts well, as "desk-20260506-093005.zip". */
export function archiveName(machineName: string, now: Date): string {
  const two = (number: number) => String(number).padStart(2, "0");
  const day = `${now.getFullYear()}${two(now.getMonth() + 1)}${two(now.getDate())}`;
  const time = `${two(now.getHours())}${two(now.getMinutes())}${two(now.getSeconds())}`;
  return `${windowsName(machineName).replaceAll(" ", "-").slice(0, 60)}-${day}-${time}.zip`;
}

/** Where a file of the machine lies in an archive of it: its path without the drive. */
export function archiveEntry(path: string): string {
  return path.slice(path.indexOf("\\") + 1).replaceAll("\\", "/");
}
