const units = ["bytes", "kB", "MB", "GB", "TB"];

/** "3.4 MB". */
export function size(bytes: number): string {
  if (bytes === 1) return "1 byte";
  let unit = 0;
  let value = bytes;
  while (value >= 999.5 && unit < units.length - 1) {
    value /= 1000;
    unit++;
  }
  const digits = unit === 0 || value >= 99.95 ? 0 : 1;
  return `${value.toFixed(digits)} ${units[unit]}`;
}

/** "1 file", "12 files". */
export function count(number: number, one: string, many = `${one}s`): string {
  return `${number.toLocaleString("en")} ${number === 1 ? one : many}`;
}

/** "8 s", "2 min 5 s", "1 h 3 min". */
export function duration(ms: number): string {
  const seconds = Math.max(0, Math.round(ms / 1000));
  if (seconds < 60) return `${seconds} s`;
  const minutes = Math.floor(seconds / 60);
  if (minutes < 60) return seconds % 60 ? `${minutes} min ${seconds % 60} s` : `${minutes} min`;
  return minutes % 60 ? `${Math.floor(minutes / 60)} h ${minutes % 60} min` : `${minutes / 60} h`;
}
