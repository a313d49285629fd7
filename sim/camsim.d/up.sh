# shellcheck shell=bash
describe_command up "up [--root DIR] [--port N] [--cgi PATH] [--device] [--daemons NAME,...]" \
  "build rest.cgi and the API reference, serve them with lighttpd on 127.0.0.1:N (8080), the reference at /docs/; --device: the AArch64 build, under qemu; --daemons: only these daemons (all nine by default, \"none\" for none)"

# How long `up` waits for the web server to answer.
UP_WAIT_SECONDS=10

cmd_up() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  local port=8080 cgi="" device=false daemons=""
  while [ $# -gt 0 ]; do
    case "$1" in
      --port) [ $# -ge 2 ] || die "up: --port needs a number"; port=$2; shift ;;
      # A rest.cgi built elsewhere (the tests' own build): nothing is built.
      --cgi) [ $# -ge 2 ] || die "up: --cgi needs a path"; cgi=$2; shift ;;
      # The AArch64 rest.cgi (root-aware build), run by qemu user-mode emulation.
      --device) device=true ;;
      # A camera that needs fewer daemons starts faster.
      --daemons) [ $# -ge 2 ] || die "up: --daemons needs a list"; daemons=$2; shift ;;
      *) die "up: unknown option '$1'" ;;
    esac
    shift
  done
  [[ $port =~ ^[0-9]+$ ]] && [ "$port" -ge 1 ] && [ "$port" -le 65535 ] ||
    die "up: invalid port '$port'"
  # The root is pasted into the configuration's quoted strings.
  [[ $CAMSIM_ROOT != *[\"\\#\&]* ]] || die "up: the root path may not hold quotes, backslashes, # or &"

  local pid
  if pid=$(running_lighttpd_pid); then
    echo "camsim: already running for $CAMSIM_ROOT (pid $pid)" >&2
    base_url "$(cat "$(lighttpd_port_file)" 2>/dev/null || echo "$port")"
    return 0
  fi

  # shellcheck disable=SC2034  # read by sim_program (lib.sh)
  CAMSIM_MAY_BUILD=1
  CAMSIM_CGI_INTERPRETER=""
  if $device; then
    [ -n "$cgi" ] || cgi=$("$CAMSIM_REPO/scripts/build-device.sh" --sim) ||
      die "up: building the AArch64 rest.cgi failed"
    CAMSIM_CGI_INTERPRETER=$(command -v qemu-aarch64) || die "up: qemu-aarch64 is not installed"
  elif [ -z "$cgi" ]; then
    build_target rest.cgi
    cgi="$(build_dir)/src/rest.cgi"
    # The API reference served at /docs/.
    build_target orvo_openapi
  fi
  [ -x "$cgi" ] || die "up: $cgi is not an executable"
  cgi=$(realpath -- "$cgi")
  # shellcheck disable=SC2034  # read by sim_program (lib.sh)
  CAMSIM_PROGRAM_BUILD=${cgi%/*/*}

  if [ ! -d "$CAMSIM_ROOT" ] || folder_is_empty "$CAMSIM_ROOT"; then
    cmd_init --root "$CAMSIM_ROOT" >/dev/null
  fi
  # Never scatter the device's folders into a directory init did not make.
  is_camera_root "$CAMSIM_ROOT" || die "up: $CAMSIM_ROOT is not a camera root (./camsim init)"
  make_camera_folders "$CAMSIM_ROOT"
  link_reboot_tool "$CAMSIM_ROOT"
  record_sim_programs

  choose_daemons "$daemons"
  start_daemons
  # The web server must call the program by a path ending in "/rest.cgi".
  ln -sfn -- "$cgi" "$CAMSIM_ROOT/www/cgi-bin/rest.cgi"
  start_lighttpd "$port"
  base_url "$port"
}

start_lighttpd() {  # <port>
  local port=$1 dir
  dir=$(lighttpd_dir)
  local config="$dir/lighttpd.conf" error_log="$dir/error.log"
  mkdir -p -- "$dir/upload" && chmod 0700 -- "$dir/upload"  # lighttpd's own body buffer
  # lighttpd runs "<interpreter> <root>/www/cgi-bin/rest.cgi": argv[0] keeps the name.
  sed -e "s#@ROOT@#$CAMSIM_ROOT#g" -e "s#@PORT@#$port#g" \
    -e "s#@CGI_INTERPRETER@#${CAMSIM_CGI_INTERPRETER:-}#g" -e "s#@DOCS@#$(docs_dir)#g" \
    "$CAMSIM_REPO/sim/lighttpd.conf.in" >"$config"
  echo "$port" >"$(lighttpd_port_file)"
  rm -f -- "$(lighttpd_pid_file)"
  : >"$error_log"

  local output
  if ! output=$(lighttpd -f "$config" 2>&1); then
    echo "$output" >&2
    show_error_log "$error_log"
    stop_daemons >&2
    die "up: lighttpd did not start"
  fi
  wait_until_answering "$port" || {
    show_error_log "$error_log"
    local pid
    if pid=$(running_lighttpd_pid); then stop_process "$pid" lighttpd 5; fi
    stop_daemons >&2
    die "up: no HTTP answer on port $port within ${UP_WAIT_SECONDS}s"
  }
}

# The rendered API reference of the PC build that serves rest.cgi, or of the
# build folder (an emulated rest.cgi's build renders none).
docs_dir() {
  if [ -n "${CAMSIM_PROGRAM_BUILD:-}" ] && [ -d "$CAMSIM_PROGRAM_BUILD/docs/api" ]; then
    echo "$CAMSIM_PROGRAM_BUILD/docs/api"
  else
    echo "$(build_dir)/docs/api"
  fi
}

# Any HTTP answer (even 404) means the server is up.
wait_until_answering() {  # <port>
  local tries=$((UP_WAIT_SECONDS * 10))
  while [ "$tries" -gt 0 ]; do
    if curl -s -o /dev/null --max-time 1 "$(base_url "$1")/"; then
      return 0
    fi
    running_lighttpd_pid >/dev/null || return 1
    sleep 0.1
    tries=$((tries - 1))
  done
  return 1
}

show_error_log() {  # <file>
  [ -s "$1" ] || return 0
  echo "--- $1" >&2
  tail -n 20 -- "$1" >&2
}
