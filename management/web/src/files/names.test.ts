import { expect, test } from "vitest";
import {
  archiveEntry,
  archiveName,
  baseName,
  folderOf,
  joinPath,
  storageName,
  windowsName,
} from "./names";
import { withPicked } from "./picked_files";

test("any name becomes one that the storage takes and nobody has to encode", () => {
  const names = ["", "..", "a..b", "../../etc/passwd", "CON", "x. ", "a:b", "\u0000\n", "漢字.txt"];
  const long = `${"w".repeat(400)}.${"e".repeat(400)}`;
  for (const name of [...names, long, "\ud800"]) {
    const stored = storageName("sent-1", name);
    expect(stored).toMatch(/^sent-1-[0-9A-Za-z._-]*$/);
    expect(stored).not.toMatch(/\.\.|[.]$/);
    expect(stored.length).toBeLessThanOrEqual(200);
  }
  expect(storageName("sent-1", "Setup 1.0.msi")).toBe("sent-1-Setup_1.0.msi");
});

test("a name is one that Windows can have, and as it was where it can", () => {
  for (const name of ["Größe (2).txt", ".profile", "COM10", "console.log"]) {
    expect(windowsName(name)).toBe(name);
  }
  expect(["a/b\\c:d", "nul.txt", "LPT1", "end. .", "...", "\ud800x"].map(windowsName)).toEqual([
    "a_b_c_d",
    "_nul.txt",
    "_LPT1",
    "end",
    "_",
    "\ufffdx",
  ]);
});

test("paths of the machine are put together and taken apart at both separators", () => {
  expect(joinPath(" C:\\Temp\\ ", "a", "b.txt")).toBe("C:\\Temp\\a\\b.txt");
  expect(joinPath("C:\\", "b.txt")).toBe("C:\\b.txt");
  expect(["C:\\a\\b.txt", "C:/a/", "C:\\", "x"].map(baseName)).toEqual(["b.txt", "a", "C:", "x"]);
  expect(["C:\\a\\b.txt", "C:\\b.txt", "x"].map(folderOf)).toEqual(["C:\\a", "C:\\", ""]);
  expect(archiveEntry("C:\\Users\\ü\\a.txt")).toBe("Users/ü/a.txt");
  expect(archiveName("My: desk", new Date(2026, 4, 6, 9, 5, 7))).toBe(
    "My_-desk-20260506-090507.zip",
  );
});

test("of two files for one place the later one is sent", () => {
  const picked = (name: string) => ({ file: new File([], name), path: [name] });
  const [a, b, again] = [picked("a.txt"), picked("b.txt"), picked("A.TXT")];
  expect(withPicked([a, b], [again])).toEqual([again, b]);
});
