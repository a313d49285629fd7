#!/usr/bin/env bash
# The install tree: `cmake --install` of <build> with DESTDIR lays out the
# camera's files where its web servers and programs look for them, and the
# simulator component adds the daemons and tools at the paths rest.cgi runs.
#   tests/install_tree.sh <build>
set -euo pipefail
build=$1
dest=$(mktemp -d "${TMPDIR:-/tmp}/install-tree.XXXXXX")
trap 'rm -rf -- "$dest"' EXIT
failed=0
expect() {  # <description> <command...>
  "${@:2}" || { echo "FAILED: $1"; failed=1; }
}

printf 'public key\n' >"$dest.key"
ORVO_FW_PUBLIC_KEY=$dest.key DESTDIR=$dest/root cmake --install "$build" --prefix / >/dev/null
DESTDIR=$dest/root cmake --install "$build" --prefix / --component simulator >/dev/null
rm -f -- "$dest.key"
root=$dest/root
expect "the program where the web servers run it" test -x "$root/www/cgi-bin/rest.cgi"
expect "BusyBox's configuration runs it by its full path" \
  grep -qx '\*\.cgi:/www/cgi-bin/rest\.cgi' "$root/etc/httpd.conf"
expect "lighttpd's configuration serves /www" \
  grep -q 'server.document-root = "/www"' "$root/etc/lighttpd/lighttpd.conf"
expect "the API reference" test -s "$root/www/docs/index.html"
expect "the web console at /" test -s "$root/www/index.html"
expect "lighttpd caps request bodies" grep -q '^server.max-request-size' "$root/etc/lighttpd/lighttpd.conf"
expect "the console's modules" test -s "$root/www/js/main.js"
expect "BusyBox serves the modules as JavaScript" \
  grep -qx '\.js:text/javascript; charset=utf-8' "$root/etc/httpd.conf"
expect "the maker's public key" grep -qx 'public key' "$root/etc/orvo/fw-signing.pub"
for tool in bin/orvo_system_cfg bin/support sbin/fwupdate usr/bin/orvo_simd usr/bin/orvo_bus_call; do
  expect "the simulator's /$tool" test -x "$root/$tool"
done
[ "$failed" -eq 0 ] && echo "install tree: every file in place"
exit "$failed"
