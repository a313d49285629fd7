# shellcheck shell=bash
describe_command clock "clock [--root DIR] [+SECONDS|-SECONDS|reset]" \
  "move the camera's clock (cumulative; reset: real time); no argument: show the offset"

# The programs add the integer in <root>/sim/clock to their clocks (nowMs,
# moment, now), read once per process: a change applies from the next
# request on, for every process at once.
clock_file() { echo "$CAMSIM_ROOT/sim/clock"; }

clock_offset() {
  local file value=0
  file=$(clock_file)
  [ -s "$file" ] && value=$(<"$file")
  [[ $value =~ ^-?[0-9]+$ ]] || value=0
  echo "$value"
}

cmd_clock() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  is_camera_root "$CAMSIM_ROOT" || die "clock: $CAMSIM_ROOT is not a camera root (./camsim init)"
  if [ $# -eq 0 ]; then
    clock_offset
    return 0
  fi
  [ $# -eq 1 ] || die "clock: one argument: +SECONDS, -SECONDS or reset"
  if [ "$1" = reset ]; then
    rm -f -- "$(clock_file)"
    return 0
  fi
  [[ $1 =~ ^[+-][0-9]{1,12}$ ]] || die "clock: '$1' is not +SECONDS or -SECONDS"
  local step=${1#+} total temp
  total=$(( $(clock_offset) + step ))
  temp=$(mktemp "$(clock_file).XXXXXX")
  echo "$total" >"$temp"
  mv -f -- "$temp" "$(clock_file)"
  echo "$total"
}
