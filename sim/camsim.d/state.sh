# shellcheck shell=bash
describe_command state "state [--root DIR] DAEMON" \
  "print a daemon's state as JSON"

cmd_state() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  [ $# -eq 1 ] || die "state: usage: state [--root DIR] DAEMON"
  is_sim_daemon "$1" || die "state: unknown daemon '$1'"
  ORVO_ROOT=$CAMSIM_ROOT "$(sim_program orvo_simd)" state "$1"
}
