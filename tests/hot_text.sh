#!/usr/bin/env bash
# rest.cgi's link map: the code of the common requests sits together in the
# ".text.hotpath" section at the front of the program's code
# (cmake/rest_hot_text.ld), and code they do not run stays outside it.
#   hot_text.sh REST_CGI_MAP
set -euo pipefail
map=$1
# The symbols the map lists inside the hot section, one per line.
hot=$(awk '
  /^[^ ]/ { inside = ($0 ~ /^\.text\.hotpath( |$)/); next }
  inside && /^ +0x[0-9a-f]+ +[^ ]/ && !/^ +0x[0-9a-f]+ +0x/ {
    sub(/^ +0x[0-9a-f]+ +/, ""); print
  }' "$map")
status=0
expect() {  # <in|out> <symbol pattern>
  local found=no
  grep -Eq "$2" <<<"$hot" && found=yes
  if [ "$1" = in ] && [ $found = no ]; then echo "not in the hot section: $2"; status=1; fi
  if [ "$1" = out ] && [ $found = yes ]; then echo "in the hot section: $2"; status=1; fi
}
expect in '^rest_status_main\('
expect in '^processRestRequest\('
expect in '^rest_version_main\('
expect in '^__libc_start_main$'
expect out '^rest_upgrade_main\('
expect out '^rest_reset_main\('
[ $status -ne 0 ] || echo "hot section: $(grep -c . <<<"$hot") symbols"
exit $status
