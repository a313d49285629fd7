# The simulated daemons: `up` starts them before the web server, `down`
# stops them after it, `status` reports them. Each runs as its own
# `orvo_simd serve <name>` process with the root's pid and log files in
# <root>/sim/daemons/, and listens on <root>/run/orvo/<name>.sock.

SIM_DAEMONS=(
  orvo_networkd orvo_ispserver orvo_streamer orvo_osd orvo_nvr
  orvo_analytics orvo_sounds_leds orvo_ctlserver orvo_avclient
)
# How long a started daemon may take to listen.
DAEMON_START_WAIT_SECONDS=5
DAEMON_STOP_WAIT_SECONDS=5

is_sim_daemon() {  # <name>
  local daemon
  for daemon in "${SIM_DAEMONS[@]}"; do
    [ "$daemon" = "$1" ] && return 0
  done
  return 1
}

# Path of a simulator program: $ORVO_SIM_BIN/<name> when set; else beside the
# build that `up --cgi` was given; else ${ORVO_BUILD_DIR:-build}/sim/<name>,
# built when missing.
sim_program() {  # <name>
  if [ -n "${ORVO_SIM_BIN:-}" ]; then
    echo "$ORVO_SIM_BIN/$1"
    return 0
  fi
  # `cgi` is cmd_up's variable when called from there. An emulated rest.cgi's
  # build holds programs for another machine: the PC build's are taken then.
  if [ -n "${cgi:-}" ] && [ -z "${CAMSIM_CGI_INTERPRETER:-}" ] &&
    [ -x "$(dirname -- "$(dirname -- "$cgi")")/sim/$1" ]; then
    echo "$(dirname -- "$(dirname -- "$cgi")")/sim/$1"
    return 0
  fi
  local build=${ORVO_BUILD_DIR:-build}
  [[ $build = /* ]] || build="$CAMSIM_REPO/$build"
  if [ ! -x "$build/sim/$1" ]; then
    if [ ! -f "$build/CMakeCache.txt" ]; then
      cmake -S "$CAMSIM_REPO" -B "$build" -G Ninja >&2 || die "cmake configure failed"
    fi
    cmake --build "$build" --target "$1" -j 2 >&2 || die "building $1 failed"
  fi
  echo "$build/sim/$1"
}

daemon_dir() { echo "$CAMSIM_ROOT/sim/daemons"; }
daemon_pid_file() { echo "$(daemon_dir)/$1.pid"; }
daemon_socket() { echo "$CAMSIM_ROOT/run/orvo/$1.sock"; }

# Prints the pid of the root's daemon <name> when it runs, else fails.
running_daemon_pid() {  # <name>
  local pid_file pid
  pid_file=$(daemon_pid_file "$1")
  [ -s "$pid_file" ] || return 1
  pid=$(<"$pid_file")
  [[ $pid =~ ^[0-9]+$ ]] || return 1
  [ "$(cat "/proc/$pid/comm" 2>/dev/null)" = orvo_simd ] || return 1
  process_alive "$pid" || return 1
  echo "$pid"
}

start_daemon() {  # <name>
  local name=$1 simd pid
  if pid=$(running_daemon_pid "$name"); then
    echo "$name: already running (pid $pid)"
    return 0
  fi
  simd=$(sim_program orvo_simd)
  [ -x "$simd" ] || die "$simd is not an executable"
  mkdir -p -- "$(daemon_dir)"
  rm -f -- "$(daemon_socket "$name")"
  # Its own output goes to a log file: callers reading ours must not wait on it.
  ORVO_ROOT=$CAMSIM_ROOT "$simd" serve "$name" \
    </dev/null >>"$(daemon_dir)/$name.log" 2>&1 &
  pid=$!
  echo "$pid" >"$(daemon_pid_file "$name")"
  local tries=$((DAEMON_START_WAIT_SECONDS * 20))
  until [ -S "$(daemon_socket "$name")" ]; do
    process_alive "$pid" && [ "$tries" -gt 0 ] || {
      tail -n 5 -- "$(daemon_dir)/$name.log" >&2
      die "$name did not start"
    }
    sleep 0.05
    tries=$((tries - 1))
  done
  echo "$name: started (pid $pid)"
}

stop_daemon() {  # <name>
  local name=$1 pid
  if pid=$(running_daemon_pid "$name"); then
    stop_process "$pid" "$name" "$DAEMON_STOP_WAIT_SECONDS"
    echo "$name: stopped (pid $pid)"
  fi
  rm -f -- "$(daemon_pid_file "$name")" "$(daemon_socket "$name")"
}

start_daemons() {
  local daemon
  for daemon in "${SIM_DAEMONS[@]}"; do
    start_daemon "$daemon" >/dev/null
  done
  echo "daemons: ${#SIM_DAEMONS[@]} running" >&2
}

stop_daemons() {
  local daemon
  for daemon in "${SIM_DAEMONS[@]}"; do
    stop_daemon "$daemon"
  done
}

status_daemons() {
  local daemon pid
  for daemon in "${SIM_DAEMONS[@]}"; do
    if pid=$(running_daemon_pid "$daemon"); then
      echo "$daemon: running (pid $pid)"
    else
      echo "$daemon: not running"
    fi
  done
}
