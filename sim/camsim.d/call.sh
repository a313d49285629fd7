# shellcheck shell=bash
describe_command call "call [--root DIR] DAEMON 'JSON'" \
  "send one message, print the answer (fails after 5 s)"

# How long `call` waits for the answer.
CALL_WAIT_MS=5000

cmd_call() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  [ $# -eq 2 ] || die "call: usage: call [--root DIR] DAEMON 'JSON'"
  ORVO_ROOT=$CAMSIM_ROOT "$(sim_program orvo_bus_call)" "$1" "$2" "$CALL_WAIT_MS"
}
