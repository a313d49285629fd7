# shellcheck shell=bash
describe_command down "down [--root DIR]" \
  "stop what up started"

# How long a stopped process may take to exit before it is killed.
DOWN_WAIT_SECONDS=10

cmd_down() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  [ $# -eq 0 ] || die "down: unknown option '$1'"
  # A restart under way finishes first; one asked for later finds nothing running.
  is_camera_root "$CAMSIM_ROOT" && hold_reboot_lock
  local pid server
  server=$(web_server)
  if pid=$(running_web_server_pid); then
    stop_process "$pid" "$server" "$DOWN_WAIT_SECONDS"
    echo "$server stopped (pid $pid)"
  else
    echo "$server was not running"
  fi
  rm -f -- "$(web_server_pid_file)"
  stop_daemons
}
