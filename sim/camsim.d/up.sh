# shellcheck shell=bash
describe_command up "up [--root DIR] [--port N] [--cgi PATH] [--device] [--server lighttpd|busybox] [--daemons NAME,...]" \
  "build rest.cgi and the API reference, serve them with lighttpd (or --server busybox: BusyBox's httpd) on 127.0.0.1:N (\$ORVO_PORT, else 8080), the reference at /docs/; --device: the AArch64 build, under qemu; --daemons: only these daemons (all nine by default, \"none\" for none)"

# How long `up` waits for the web server to answer.
UP_WAIT_SECONDS=10

cmd_up() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  local port=${ORVO_PORT:-8080} cgi="" device=false daemons="" server=lighttpd
  while [ $# -gt 0 ]; do
    case "$1" in
      --port) [ $# -ge 2 ] || die "up: --port needs a number"; port=$2; shift ;;
      # A rest.cgi built elsewhere (the tests' own build): nothing is built.
      --cgi) [ $# -ge 2 ] || die "up: --cgi needs a path"; cgi=$2; shift ;;
      # The AArch64 rest.cgi (root-aware build), run by qemu user-mode emulation.
      --device) device=true ;;
      # A camera that needs fewer daemons starts faster.
      --daemons) [ $# -ge 2 ] || die "up: --daemons needs a list"; daemons=$2; shift ;;
      --server) [ $# -ge 2 ] || die "up: --server needs lighttpd or busybox"; server=$2; shift ;;
      *) die "up: unknown option '$1'" ;;
    esac
    shift
  done
  [[ $port =~ ^[0-9]+$ ]] && [ "$port" -ge 1 ] && [ "$port" -le 65535 ] ||
    die "up: invalid port '$port'"
  case "$server" in lighttpd|busybox) ;; *) die "up: unknown server '$server' (lighttpd or busybox)" ;; esac
  # BusyBox's httpd would start the emulator, not rest.cgi, with the bare name.
  [ "$server" = lighttpd ] || ! $device || die "up: --device is served by lighttpd only"
  # The root is pasted into the configuration's quoted strings.
  [[ $CAMSIM_ROOT != *[\"\\#\&]* ]] || die "up: the root path may not hold quotes, backslashes, # or &"

  local pid
  if pid=$(running_web_server_pid); then
    echo "camsim: already running for $CAMSIM_ROOT (pid $pid)" >&2
    base_url "$(cat "$(web_server_port_file)" 2>/dev/null || echo "$port")"
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
    # rest.cgi, the API reference served at /docs/, and every simulator
    # program a later camsim command runs (call, fwimage, ...).
    build_target orvo_camera
    cgi="$(build_dir)/src/rest.cgi"
  fi
  [ -x "$cgi" ] || die "up: $cgi is not an executable"
  cgi=$(realpath -- "$cgi")
  # shellcheck disable=SC2034  # read by sim_program (lib.sh)
  CAMSIM_PROGRAM_BUILD=${cgi%/*/*}

  if [ ! -d "$CAMSIM_ROOT" ] || folder_is_empty "$CAMSIM_ROOT"; then
    cmd_init --root "$CAMSIM_ROOT" >/dev/null
    # A camera that `up` makes is a person's: it restarts after flashing as
    # the device does. Roots made by `init` (the tests' shared cameras) keep
    # their sessions through an upgrade.
    fwupdate_control reboot on
  fi
  # Never scatter the device's folders into a directory init did not make.
  is_camera_root "$CAMSIM_ROOT" || die "up: $CAMSIM_ROOT is not a camera root (./camsim init)"
  make_camera_folders "$CAMSIM_ROOT"
  link_reboot_tool "$CAMSIM_ROOT"
  record_sim_programs

  install_console
  choose_daemons "$daemons"
  start_daemons
  # The web server must call the program by a path ending in "/rest.cgi".
  ln -sfn -- "$cgi" "$CAMSIM_ROOT/www/cgi-bin/rest.cgi"
  mkdir -p -- "$CAMSIM_ROOT/sim/$server"
  echo "$server" >"$(web_server_record)"
  "start_$server" "$port"
  base_url "$port"
}

# The web console is a plain folder of static files: a copy of console/ in
# the document root, so every web server of the camera serves it as it is.
# Whatever an earlier `up` copied is replaced; cgi-bin stays.
install_console() {
  local www="$CAMSIM_ROOT/www" entry
  for entry in "$www"/* "$www"/.[!.]*; do
    [ -e "$entry" ] || [ -L "$entry" ] || continue
    [ "${entry##*/}" = cgi-bin ] || rm -rf -- "$entry"
  done
  cp -R -- "$CAMSIM_REPO/console/." "$www/"
}

start_lighttpd() {  # <port>
  local port=$1 dir
  dir=$(web_server_dir)
  local config="$dir/lighttpd.conf" error_log="$dir/error.log"
  mkdir -p -- "$dir/upload" && chmod 0700 -- "$dir/upload"  # lighttpd's own body buffer
  # lighttpd runs "<interpreter> <root>/www/cgi-bin/rest.cgi": argv[0] keeps the name.
  sed -e "s#@ROOT@#$CAMSIM_ROOT#g" -e "s#@PORT@#$port#g" \
    -e "s#@CGI_INTERPRETER@#${CAMSIM_CGI_INTERPRETER:-}#g" -e "s#@DOCS@#$(docs_dir)#g" \
    "$CAMSIM_REPO/sim/lighttpd.conf.in" >"$config"
  echo "$port" >"$(web_server_port_file)"
  rm -f -- "$(web_server_pid_file)"
  : >"$error_log"

  local output
  if ! output=$(lighttpd -f "$config" 2>&1); then
    echo "$output" >&2
    show_error_log "$error_log"
    stop_daemons >&2
    die "up: lighttpd did not start"
  fi
  await_web_server "$port" "$error_log"
}

# Fails `up` when the server does not answer in time, stopping what started.
await_web_server() {  # <port> <error log>
  wait_until_answering "$1" && return 0
  show_error_log "$2"
  local pid
  if pid=$(running_web_server_pid); then stop_process "$pid" "$(web_server)" 5; fi
  stop_daemons >&2
  die "up: no HTTP answer on port $1 within ${UP_WAIT_SECONDS}s"
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
    running_web_server_pid >/dev/null || return 1
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
