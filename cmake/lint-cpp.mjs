// Runs clang-tidy over the C++ sources that changed since they last passed, on all cores:
//   node lint-cpp.mjs BUILD-FOLDER STAMP-FOLDER
// A source that passed leaves a stamp, named by the contents of the source, of our headers that it includes, of its
// compiler's command and of .clang-tidy. So a header that changed brings back those that use it, and no others.
import { spawn } from "node:child_process";
import { createHash } from "node:crypto";
import { existsSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { availableParallelism } from "node:os";
import { join, relative, resolve } from "node:path";

const tidy = "clang-tidy-19";
// The commands are g++'s. Of the compiler's warnings only the analysis of locks is clang's alone.
const tidyArguments = [
  "--quiet",
  "--extra-arg=--target=x86_64-w64-mingw32",
  "--extra-arg=-Wno-everything",
  "--extra-arg=-Wthread-safety",
];

// Tests are checked for faults, not for speed. GoogleTest's macros unfold into so many paths that the analyser takes
// ten times as long as all else, ASSERT_TRUE on an optional is not seen as a check, and tests look at empty and
// moved-from objects on purpose.
const testArguments = [
  "--checks=-clang-analyzer-*,-performance-*,-bugprone-use-after-move,-bugprone-unchecked-optional-access," +
    "-readability-container-size-empty",
];

const root = resolve(import.meta.dirname, "..");
const [build, stamps] = process.argv.slice(2).map((folder) => resolve(folder));

function argumentsFor(file) {
  return file.endsWith("_test.cpp") ? [...tidyArguments, ...testArguments] : tidyArguments;
}

// What the command printed to standard output and standard error, and its exit code.
function run(command, args) {
  return new Promise((done, failed) => {
    const child = spawn(command, args, { cwd: build, stdio: ["ignore", "pipe", "pipe"] });
    let printed = "";
    let errors = "";
    child.stdout.on("data", (chunk) => (printed += chunk));
    child.stderr.on("data", (chunk) => (errors += chunk));
    child.once("error", failed);
    child.once("close", (code) => done({ code, printed, errors }));
  });
}

// Which of our files each object was made of, as the compiler told Ninja.
async function readDependencies() {
  const { code, printed, errors } = await run("ninja", ["-t", "deps"]);
  if (code !== 0) throw new Error(errors);
  const dependencies = new Map();
  for (const block of printed.split("\n\n")) {
    const [head, ...files] = block.trim().split("\n");
    const ours = files.map((file) => resolve(build, file.trim())).filter((file) => file.startsWith(`${root}/`));
    dependencies.set(head.split(":")[0], ours.sort());
  }
  return dependencies;
}

function keyOf({ file, command }, dependencies) {
  const hash = createHash("sha256");
  hash.update(argumentsFor(file).join(" "));
  hash.update(command.replaceAll(build, "").replaceAll(root, ""));
  for (const part of [join(root, ".clang-tidy"), file, ...dependencies]) {
    hash.update(`\0${relative(root, part)}\0`).update(readFileSync(part));
  }
  return hash.digest("hex");
}

const dependencies = await readDependencies();
const commands = JSON.parse(readFileSync(join(build, "compile_commands.json"), "utf8"));
const pending = commands
  .filter(({ file }) => file.endsWith(".cpp"))
  .map((entry) => ({ ...entry, stamp: join(stamps, keyOf(entry, dependencies.get(entry.output) ?? [])) }))
  .filter(({ stamp }) => !existsSync(stamp));

mkdirSync(stamps, { recursive: true });
let failures = 0;
async function work() {
  for (let entry = pending.pop(); entry; entry = pending.pop()) {
    const { code, printed, errors } = await run(tidy, ["-p", build, ...argumentsFor(entry.file), entry.file]);
    if (code === 0) {
      writeFileSync(entry.stamp, "");
    } else {
      failures += 1;
      console.log(printed || errors);
    }
  }
}
await Promise.all(Array.from({ length: availableParallelism() }, work));
process.exitCode = failures ? 1 : 0;
