# shellcheck shell=bash
describe_command reboot "reboot [--root DIR] [--delay SECONDS]" \
  "restart the camera as the device does: daemons stop, /tmp is emptied, daemons start again (the web server keeps serving)"

# A camera takes a moment to go down after the request: the answer to the
# request that asked for the restart is out by then.
REBOOT_SHUTDOWN_SECONDS=1
# `down` waits this long for a restart under way to finish.
REBOOT_LOCK_WAIT_SECONDS=60

reboot_lock_file() { echo "$CAMSIM_ROOT/sim/reboot.lock"; }
# "count=N" and "last=<UTC time>" of the root's restarts.
reboot_record_file() { echo "$CAMSIM_ROOT/sim/reboots"; }

# Holds the root's restart lock on descriptor 9 until the calling shell exits:
# one restart at a time, and `down` never races one.
hold_reboot_lock() {
  exec 9>>"$(reboot_lock_file)"
  flock -w "$REBOOT_LOCK_WAIT_SECONDS" 9 || die "the camera is busy restarting"
}

cmd_reboot() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  local delay=0
  while [ $# -gt 0 ]; do
    case "$1" in
      --delay) [ $# -ge 2 ] && [[ $2 =~ ^[0-9]{1,5}$ ]] || die "reboot: --delay needs seconds"
        delay=$2; shift ;;
      *) die "reboot: unknown option '$1'" ;;
    esac
    shift
  done
  is_camera_root "$CAMSIM_ROOT" || die "reboot: $CAMSIM_ROOT is not a camera root"
  hold_reboot_lock
  sleep $((delay + REBOOT_SHUTDOWN_SECONDS))
  if ! camera_running; then
    echo "camsim: the camera is not running; nothing to restart"
    return 0
  fi
  stop_daemons >/dev/null
  empty_tmp
  record_reboot
  start_daemons
}

# Anything of the camera running: the web server or a daemon.
camera_running() {
  running_web_server_pid >/dev/null && return 0
  local daemon
  for daemon in "${SIM_DAEMONS[@]}"; do
    running_daemon_pid "$daemon" >/dev/null && return 0
  done
  return 1
}

# /tmp is a RAM disk on the device: nothing in it survives a restart.
# find never follows a link it deletes.
empty_tmp() {
  find "$CAMSIM_ROOT/tmp" -mindepth 1 -delete
}

record_reboot() {
  local file count=0
  file=$(reboot_record_file)
  if [ -f "$file" ]; then
    count=$(sed -n 's/^count=\([0-9]\{1,9\}\)$/\1/p' "$file")
    count=${count:-0}
  fi
  printf 'count=%s\nlast=%s\n' "$((count + 1))" "$(date -u +%Y-%m-%dT%H:%M:%SZ)" >"$file.new"
  mv -f -- "$file.new" "$file"
}

status_reboots() {
  local file count last
  file=$(reboot_record_file)
  count=$(sed -n 's/^count=//p' "$file" 2>/dev/null || true)
  last=$(sed -n 's/^last=//p' "$file" 2>/dev/null || true)
  if [ -n "$count" ]; then
    echo "reboots: $count (last $last)"
  else
    echo "reboots: 0"
  fi
}

# The device's reboot tool, which the programs run as /sbin/reboot.
link_reboot_tool() {  # <root>
  mkdir -p -- "$1/sbin"
  ln -sfn -- "$CAMSIM_REPO/sim/tools/reboot" "$1/sbin/reboot"
}
