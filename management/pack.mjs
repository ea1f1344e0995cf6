// Lays out the server's package in a folder that is there and empty, for `npm pack`: node pack.mjs FOLDER VERSION
import { execFileSync } from "node:child_process";
import { cpSync, mkdirSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import { join, relative } from "node:path";
import { fileURLToPath } from "node:url";

const repository = fileURLToPath(new URL("..", import.meta.url));
const [staging, version] = process.argv.slice(2);
const own = JSON.parse(readFileSync(join(repository, "management/server/package.json"), "utf8"));

/** The folders of all libraries that a workspace needs when it runs. */
function librariesOf(workspace) {
  const args = ["ls", "--omit=dev", "--all", "--parseable", "--workspace", workspace];
  const paths = execFileSync("npm", args, { cwd: repository, encoding: "utf8", stdio: "pipe" });
  return paths
    .split("\n")
    .filter((path) => path.includes("/node_modules/") && !path.includes("/@remote-access/"));
}

function infoOf(library) {
  return JSON.parse(readFileSync(join(library, "package.json"), "utf8"));
}

/** The text of a library's licence, or what else it says of it. */
function licenceOf(library) {
  const names = readdirSync(library).sort();
  const files = names.filter((name) => /^(licen[sc]e|copying|notice)/i.test(name));
  const { license, author } = infoOf(library);
  if (files.length === 0 && !license) throw new Error(`${library} does not tell its licence.`);
  const said = `Licence: ${license}\nAuthor: ${author?.name ?? author ?? "not told"}\n`;
  return [said, ...files.map((name) => readFileSync(join(library, name), "utf8"))].join("\n");
}

const libraries = librariesOf("@remote-access/server");
for (const library of libraries) {
  // What stands inside another library is in the list itself.
  const place = relative(repository, library);
  cpSync(library, join(staging, place), {
    recursive: true,
    filter: (path) => !relative(library, path).split("/").includes("node_modules"),
  });
}

mkdirSync(join(staging, "licences"));
for (const library of [...libraries, ...librariesOf("@remote-access/web")]) {
  const { name, version } = infoOf(library);
  const file = `${name.replace("/", "-")}-${version}.txt`;
  writeFileSync(join(staging, "licences", file), licenceOf(library));
}

cpSync(join(repository, "management/server/dist"), join(staging, "server/dist"), {
  recursive: true,
  filter: (path) => !/\.map$|\/built$/.test(path),
});
cpSync(join(repository, "management/web/dist"), join(staging, "web/dist"), { recursive: true });
cpSync(join(repository, "management/server/packaging"), join(staging, "packaging"), {
  recursive: true,
  filter: (path) => !path.endsWith("README.md"),
});
cpSync(join(repository, "management/server/packaging/README.md"), join(staging, "README.md"));
mkdirSync(join(staging, "docs"));
for (const name of ["operations.md", "protocol.md", "console.png", "console-high-contrast.png"]) {
  cpSync(join(repository, "docs", name), join(staging, "docs", name));
}
writeFileSync(
  join(staging, "package.json"),
  JSON.stringify(
    {
      name: "remote-access-server",
      version,
      description: "The management server of RemoteAccess",
      license: "UNLICENSED",
      type: "module",
      bin: { "remote-access-server": "server/dist/main.js" },
      engines: { node: ">=20.19" },
      os: ["linux"],
      dependencies: own.dependencies,
      bundleDependencies: Object.keys(own.dependencies),
    },
    null,
    2,
  ),
);
