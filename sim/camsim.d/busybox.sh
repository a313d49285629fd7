# shellcheck shell=bash
# BusyBox's httpd as the simulated camera's web server (`up --server
# busybox`). It has no URL rewriting and no aliases: the API answers at
# /cgi-bin/rest.cgi?id=<id> only, and /docs/ is a link inside the document root.

start_busybox() {  # <port>
  local port=$1 dir
  dir=$(web_server_dir)
  local config="$dir/httpd.conf" error_log="$dir/error.log"
  command -v busybox >/dev/null || die "up: busybox is not installed (scripts/install-deps.sh)"
  # BusyBox starts a CGI from its folder with a bare argv[0], which rest.cgi
  # refuses; named as the interpreter of ".cgi" it is started by its full path.
  sed -e "s#@CGI@#$CAMSIM_ROOT/www/cgi-bin/rest.cgi#g" \
    "$CAMSIM_REPO/sim/busybox-httpd.conf.in" >"$config"
  ln -sfn -- "$(docs_dir)" "$CAMSIM_ROOT/www/docs"
  echo "$port" >"$(web_server_port_file)"
  rm -f -- "$(web_server_pid_file)"
  : >"$error_log"
  # In the foreground of a process of its own, so that its pid is known; the
  # programs find the device's files under the root (the environment is the CGI's).
  ORVO_ROOT=$CAMSIM_ROOT busybox httpd -f -p "127.0.0.1:$port" -h "$CAMSIM_ROOT/www" \
    -c "$config" </dev/null >>"$error_log" 2>&1 9>&- &
  echo "$!" >"$(web_server_pid_file)"
  # The shell's child becomes busybox a moment later.
  local tries=20
  until running_web_server_pid >/dev/null || [ "$tries" -eq 0 ]; do
    sleep 0.1
    tries=$((tries - 1))
  done
  await_web_server "$port" "$error_log"
}
