# shellcheck shell=bash
# Shared by every camsim sub-command: messages, the camera root, the layout
# of the device's folders and of the simulator's own files inside it.

# Sub-commands register a one-line description here for `camsim help`.
declare -a CAMSIM_COMMANDS=()
declare -A CAMSIM_USAGE=() CAMSIM_SUMMARY=()
# shellcheck disable=SC2034  # the tables are read by help.sh
describe_command() {  # <name> <usage> <summary>
  CAMSIM_COMMANDS+=("$1")
  CAMSIM_USAGE[$1]=$2
  CAMSIM_SUMMARY[$1]=$3
}

die() {
  echo "camsim: $*" >&2
  exit 1
}

# The device's folders a fresh root gets. The programs map every absolute
# path under the root (ORVO_ROOT), so these mirror the camera's file system.
CAMERA_FOLDERS=(
  bin sbin etc tmp dev
  var/log var/run
  run run/lock run/lock/orvo run/orvo
  www www/cgi-bin
  sim sim/lighttpd sim/busybox
)

# Marks a folder as a camera root made by `init`; only such a folder is ever
# wiped by `init --force`.
ROOT_MARKER=sim/camera-root

CAMSIM_ROOT=""
# Arguments take_root consumed; the caller shifts them away.
# shellcheck disable=SC2034  # read by the sub-commands
CAMSIM_SHIFT=0
# Sets CAMSIM_ROOT from `--root DIR` (when it is the first argument), else
# $ORVO_ROOT, else .camsim/ in the repository. Sets CAMSIM_SHIFT to the
# number of arguments consumed.
take_root() {
  CAMSIM_SHIFT=0
  local root
  if [ "${1:-}" = --root ]; then
    [ $# -ge 2 ] && [ -n "$2" ] || die "--root needs a directory"
    root=$2
    # shellcheck disable=SC2034  # read by the sub-commands
    CAMSIM_SHIFT=2
  elif [ -n "${ORVO_ROOT:-}" ]; then
    root=$ORVO_ROOT
  else
    root="$CAMSIM_REPO/.camsim"
  fi
  CAMSIM_ROOT=$(realpath -m -- "$root")
  [ "$CAMSIM_ROOT" != / ] || die "refusing to use / as a camera root"
}

make_camera_folders() {  # <root>
  mkdir -p -- "${CAMERA_FOLDERS[@]/#/$1/}"
  # As on the device: everybody may write /tmp, nobody removes another's files.
  chmod 1777 -- "$1/tmp"
  touch -- "$1/var/log/messages" "$1/$ROOT_MARKER"
  # The log holds what users sent; only the camera's own group may read it.
  chmod 0640 -- "$1/var/log/messages"
}

is_camera_root() { [ -f "$1/$ROOT_MARKER" ]; }

# True when <folder> has no entries, hidden ones included (no process started).
folder_is_empty() {  # <folder>
  local -a entries
  local options
  options=$(shopt -p nullglob dotglob || true)
  shopt -s nullglob dotglob
  entries=("$1"/*)
  eval "$options"
  [ ${#entries[@]} -eq 0 ]
}

# The simulator's web server: lighttpd, or BusyBox's httpd ("busybox";
# `up --server busybox`). `up` records its choice; its files, all inside the
# root, are in sim/<server>/.
web_server_record() { echo "$CAMSIM_ROOT/sim/web-server"; }
web_server() {
  local name=lighttpd
  { read -r name <"$(web_server_record)"; } 2>/dev/null || true
  case "$name" in busybox) echo busybox ;; *) echo lighttpd ;; esac
}
web_server_dir() { echo "$CAMSIM_ROOT/sim/$(web_server)"; }
web_server_pid_file() { echo "$(web_server_dir)/$(web_server).pid"; }
web_server_port_file() { echo "$(web_server_dir)/port"; }

# Prints the pid of the root's web server when it is running, else fails.
running_web_server_pid() {
  local pid_file pid
  pid_file=$(web_server_pid_file)
  [ -s "$pid_file" ] || return 1
  pid=$(<"$pid_file")
  [[ $pid =~ ^[0-9]+$ ]] || return 1
  # A stale pid file may name a recycled pid: it must still be the server.
  [ "$(cat "/proc/$pid/comm" 2>/dev/null)" = "$(web_server)" ] || return 1
  process_alive "$pid" || return 1
  echo "$pid"
}

# True while the process exists and has not exited. An exited daemon whose
# parent never reaps it stays a zombie: that counts as gone.
process_alive() {  # <pid>
  local stat
  # read, not $(cat ...): no process is started for the check.
  { read -r stat <"/proc/$1/stat"; } 2>/dev/null || return 1
  stat=${stat##*) }
  [ "${stat%% *}" != Z ]
}

base_url() {  # <port>
  echo "http://127.0.0.1:$1"
}

# Sends TERM to a process and waits up to <limit> seconds for it to exit,
# then KILL. Only ever called with a pid read from the root's pid files.
stop_process() {  # <pid> <name> <limit seconds>
  local pid=$1 name=$2 limit=$3 waited=0
  kill -TERM "$pid" 2>/dev/null || return 0
  while process_alive "$pid"; do
    if [ "$waited" -ge $((limit * 10)) ]; then
      echo "camsim: $name (pid $pid) did not stop in ${limit}s, killing it" >&2
      kill -KILL "$pid" 2>/dev/null || true
      break
    fi
    sleep 0.1
    waited=$((waited + 1))
  done
}

# Where the simulator's programs come from. `up` sets CAMSIM_PROGRAM_BUILD to
# the build folder of the rest.cgi it serves (`--cgi`), so daemons and tools
# match it, and CAMSIM_MAY_BUILD to 1: only `up` builds what is missing.
CAMSIM_PROGRAM_BUILD=""
CAMSIM_MAY_BUILD=0

# The project's build folder: $ORVO_BUILD_DIR (relative to the repository)
# or build/.
build_dir() {
  local build=${ORVO_BUILD_DIR:-build}
  [[ $build = /* ]] || build="$CAMSIM_REPO/$build"
  echo "$build"
}

# Installs the Debian packages, configures the build folder when it has no
# cache yet and builds <target> there. Progress goes to standard error.
build_target() {  # <target>
  local build
  build=$(build_dir)
  "$CAMSIM_REPO/scripts/install-deps.sh" >&2
  if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake -S "$CAMSIM_REPO" -B "$build" -G Ninja >&2 || die "cmake configure failed"
  fi
  cmake --build "$build" --target "$1" -j 2 >&2 || die "building $1 failed"
}

# Path of a simulator program: $ORVO_SIM_BIN/<name> when set; else beside the
# rest.cgi that `up` serves; else those the running camera was started with;
# else in the build folder, built there when missing and building is allowed.
sim_program() {  # <name>
  if [ -n "${ORVO_SIM_BIN:-}" ]; then
    echo "$ORVO_SIM_BIN/$1"
    return 0
  fi
  # An emulated rest.cgi's build holds programs for another machine: the PC
  # build's are taken then.
  if [ -n "$CAMSIM_PROGRAM_BUILD" ] && [ -z "${CAMSIM_CGI_INTERPRETER:-}" ] &&
    [ -x "$CAMSIM_PROGRAM_BUILD/sim/$1" ]; then
    echo "$CAMSIM_PROGRAM_BUILD/sim/$1"
    return 0
  fi
  # The programs the running camera was started with (see record_sim_programs).
  if [ -n "$CAMSIM_ROOT" ] && [ -x "$CAMSIM_ROOT/sim/programs/$1" ]; then
    echo "$CAMSIM_ROOT/sim/programs/$1"
    return 0
  fi
  local build
  build=$(build_dir)
  if [ ! -x "$build/sim/$1" ] && [ "$CAMSIM_MAY_BUILD" = 1 ]; then
    build_target "$1"
  fi
  echo "$build/sim/$1"
}
