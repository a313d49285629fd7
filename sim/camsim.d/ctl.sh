# shellcheck shell=bash
CTL_USAGE="ctl [--root DIR] DAEMON latency MS|silent on|off|stop|start|adopted true|false|scan-duration MS|ap SSID PASSPHRASE|open|remove [SIGNAL_DBM] | ctl [--root DIR] fwupdate duration MS|reboot on|off"
describe_command ctl "$CTL_USAGE" \
  "test controls of one daemon, in force from its next request (adopted: orvo_avclient only; scan-duration, ap (a visible wireless network): orvo_networkd only)"

cmd_ctl() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  [ $# -ge 2 ] || die "ctl: usage: $CTL_USAGE"
  # The update tool is no daemon; its control lives in fwimage.sh.
  if [ "$1" = fwupdate ]; then shift; fwupdate_control "$@"; return; fi
  local daemon=$1 action=$2
  is_sim_daemon "$daemon" || die "ctl: unknown daemon '$daemon'"
  case "$action" in
    stop|start)
      [ $# -eq 2 ] || die "ctl: $action takes no value"
      "${action}_daemon" "$daemon" ;;
    adopted)
      # Only the A/V client knows whether a controller adopted the camera.
      [ "$daemon" = orvo_avclient ] || die "ctl: adopted is a control of orvo_avclient only"
      [ $# -eq 3 ] && { [ "$3" = true ] || [ "$3" = false ]; } ||
        die "ctl: adopted takes true or false"
      set_control "$daemon" "$action" "$3" ;;
    scan-duration)
      # Only the network daemon scans.
      [ "$daemon" = orvo_networkd ] || die "ctl: scan-duration is a control of orvo_networkd only"
      [ $# -eq 3 ] || die "ctl: scan-duration needs a value"
      set_control "$daemon" "$action" "$3" ;;
    ap)
      # The visible wireless networks are the network daemon's state.
      [ "$daemon" = orvo_networkd ] || die "ctl: ap is a control of orvo_networkd only"
      [ $# -eq 4 ] || { [ $# -eq 5 ] && [ "$4" != remove ]; } ||
        die "ctl: ap takes SSID PASSPHRASE|open [SIGNAL_DBM], or SSID remove"
      shift 2
      ORVO_ROOT=$CAMSIM_ROOT "$(sim_program orvo_simd)" ctl "$daemon" ap "$@" ||
        die "ctl: cannot change the visible network '$1'" ;;
    latency|silent)
      [ $# -eq 3 ] || die "ctl: $action needs a value"
      set_control "$daemon" "$action" "$3" ;;
    *) die "ctl: unknown control '$action'" ;;
  esac
}

set_control() {  # <daemon> <control> <value>
  ORVO_ROOT=$CAMSIM_ROOT "$(sim_program orvo_simd)" ctl "$1" "$2" "$3" ||
    die "ctl: cannot set $2 of $1 to '$3'"
}
