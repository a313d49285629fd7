# shellcheck shell=bash
describe_command status "status [--root DIR]" \
  "say what is running"

cmd_status() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  [ $# -eq 0 ] || die "status: unknown option '$1'"
  echo "camera root: $CAMSIM_ROOT"
  if ! is_camera_root "$CAMSIM_ROOT"; then
    echo "no camera root there (./camsim init)"
    return 0
  fi
  local pid
  if pid=$(running_web_server_pid); then
    echo "$(web_server): running (pid $pid) at $(base_url "$(cat "$(web_server_port_file)")")"
  else
    echo "$(web_server): not running"
  fi
  status_daemons
  status_reboots
}
