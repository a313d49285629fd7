# shellcheck shell=bash
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

# `up` records where the simulator's programs came from, so that what runs
# later without the caller's environment (a restart the camera asks for)
# uses the same ones.
sim_programs_link() { echo "$CAMSIM_ROOT/sim/programs"; }
record_sim_programs() {
  rm -f -- "$(sim_programs_link)"
  local simd
  simd=$(sim_program orvo_simd)
  simd=$(realpath -- "$simd")
  ln -sfn -- "${simd%/*}" "$(sim_programs_link)"
}

daemon_dir() { echo "$CAMSIM_ROOT/sim/daemons"; }
daemon_pid_file() { echo "$(daemon_dir)/$1.pid"; }
DAEMON_SOCKET_DIR=run/orvo
daemon_socket() { echo "$CAMSIM_ROOT/$DAEMON_SOCKET_DIR/$1.sock"; }

# Prints the pid of the root's daemon <name> when it runs, else fails.
running_daemon_pid() {  # <name>
  local pid_file pid
  pid_file=$(daemon_pid_file "$1")
  [ -s "$pid_file" ] || return 1
  pid=$(<"$pid_file")
  [[ $pid =~ ^[0-9]+$ ]] || return 1
  local comm
  { read -r comm <"/proc/$pid/comm"; } 2>/dev/null && [ "$comm" = orvo_simd ] || return 1
  process_alive "$pid" || return 1
  echo "$pid"
}

start_daemon() {  # <name>
  local pid
  if pid=$(running_daemon_pid "$1"); then
    echo "$1: already running (pid $pid)"
    return 0
  fi
  launch_daemon "$1"
  await_daemon "$1" "$LAUNCHED_PID"
}

# Starts <name> in the background without waiting for its socket; its pid
# is left in LAUNCHED_PID.
LAUNCHED_PID=""
launch_daemon() {  # <name>
  local name=$1 simd dir
  simd=$(sim_program orvo_simd)
  [ -x "$simd" ] || die "$simd is not an executable"
  dir=$(daemon_dir)
  [ -d "$dir" ] || mkdir -p -- "$dir"
  local socket="$CAMSIM_ROOT/$DAEMON_SOCKET_DIR/$name.sock"
  if [ -e "$socket" ] || [ -L "$socket" ]; then rm -f -- "$socket"; fi
  ORVO_ROOT=$CAMSIM_ROOT "$simd" serve "$name" \
    </dev/null >>"$dir/$name.log" 2>&1 9>&- &
  LAUNCHED_PID=$!
  echo "$LAUNCHED_PID" >"$dir/$name.pid"
}

# Waits until the daemon <name> (process <pid>) listens on its socket.
await_daemon() {  # <name> <pid>
  local name=$1 pid=$2 socket="$CAMSIM_ROOT/$DAEMON_SOCKET_DIR/$1.sock"
  local tries=$((DAEMON_START_WAIT_SECONDS * 20))
  until [ -S "$socket" ]; do
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

# The daemons this camera runs: `up --daemons` records them, so that a
# restart brings back the same ones; without the file, all of them.
chosen_daemons_file() { echo "$CAMSIM_ROOT/sim/daemons.list"; }

choose_daemons() {  # <"name,name,..." | "none" | "" for all>
  local list=$1 daemon
  local -a names=()
  if [ -z "$list" ]; then
    rm -f -- "$(chosen_daemons_file)"
    return 0
  fi
  if [ "$list" != none ]; then
    IFS=, read -r -a names <<<"$list"
    for daemon in "${names[@]}"; do
      is_sim_daemon "$daemon" || die "up: unknown daemon '$daemon'"
    done
  fi
  mkdir -p -- "$CAMSIM_ROOT/sim"
  printf '%s\n' "${names[@]}" | grep -v '^$' >"$(chosen_daemons_file)" || true
}

chosen_daemons() {
  local file
  file=$(chosen_daemons_file)
  if [ -f "$file" ]; then cat -- "$file"; else printf '%s\n' "${SIM_DAEMONS[@]}"; fi
}

# The daemons start side by side; then each is waited for.
start_daemons() {
  local daemon pid count=0
  local -A launched=()
  while read -r daemon; do
    count=$((count + 1))
    if ! pid=$(running_daemon_pid "$daemon"); then
      launch_daemon "$daemon"
      launched[$daemon]=$LAUNCHED_PID
    fi
  done < <(chosen_daemons)
  for daemon in "${!launched[@]}"; do
    await_daemon "$daemon" "${launched[$daemon]}" >/dev/null
  done
  echo "daemons: $count running" >&2
}

stop_daemons() {
  local daemon pid
  # All are told at once, then each is waited for: they stop in parallel.
  for daemon in "${SIM_DAEMONS[@]}"; do
    if pid=$(running_daemon_pid "$daemon"); then kill -TERM "$pid" 2>/dev/null || true; fi
  done
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
