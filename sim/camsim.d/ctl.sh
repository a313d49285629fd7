describe_command ctl "ctl [--root DIR] DAEMON latency MS|silent on|off|stop|start" \
  "test controls of one daemon, in force from its next request"

cmd_ctl() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  [ $# -ge 2 ] || die "ctl: usage: ctl [--root DIR] DAEMON latency MS|silent on|off|stop|start"
  local daemon=$1 action=$2
  is_sim_daemon "$daemon" || die "ctl: unknown daemon '$daemon'"
  case "$action" in
    stop|start)
      [ $# -eq 2 ] || die "ctl: $action takes no value"
      "${action}_daemon" "$daemon" ;;
    latency|silent)
      [ $# -eq 3 ] || die "ctl: $action needs a value"
      ORVO_ROOT=$CAMSIM_ROOT "$(sim_program orvo_simd)" ctl "$daemon" "$action" "$3" ||
        die "ctl: cannot set $action of $daemon to '$3'" ;;
    *) die "ctl: unknown control '$action'" ;;
  esac
}
