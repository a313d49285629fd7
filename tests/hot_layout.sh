#!/usr/bin/env bash
# rest.cgi's link map: what the common requests touch sits together at the
# front of each part of the image (cmake/rest_hot_layout.ld): their code in
# ".text.hotpath", their read-only data in ".rodata.hotpath", their zeroed
# data in ".bss.hotpath"; the exit code (.fini) lies before all code. What
# they do not touch stays outside.
#   hot_layout.sh REST_CGI_MAP
set -euo pipefail
map=$1
# What the map lists inside one output section, one line per symbol or
# input section: "<section> <file>" or the symbol's name.
inside() {  # <output section>
  awk -v want="$1" '
    /^[^ ]/ { inside = ($1 == want); pending = ""; next }
    !inside { next }
    /^ \.[^ ]+ +0x[0-9a-f]+ +0x[0-9a-f]+ +[^ ]/ { print $1, $4; next }
    /^ \.[^ ]+$/ { pending = $1; next }
    pending != "" && /^ +0x[0-9a-f]+ +0x[0-9a-f]+ +[^ ]/ { print pending, $3; pending = ""; next }
    /^ +0x[0-9a-f]+ +[^ ]/ && !/^ +0x[0-9a-f]+ +0x/ { sub(/^ +0x[0-9a-f]+ +/, ""); print }
  ' "$map"
}
text=$(inside .text.hotpath)
rodata=$(inside .rodata.hotpath)
bss=$(inside .bss.hotpath)
status=0
expect() {  # <in|out> <what> <pattern>
  local found=no
  grep -Eq "$3" <<<"${!2}" && found=yes
  if [ "$1" = in ] && [ $found = no ]; then echo "not in .$2.hotpath: $3"; status=1; fi
  if [ "$1" = out ] && [ $found = yes ]; then echo "in .$2.hotpath: $3"; status=1; fi
}
expect in text '^rest_status_main\('
expect in text '^processRestRequest\('
expect in text '^rest_version_main\('
expect in text '^__libc_start_main$'
expect out text '^rest_upgrade_main\('
expect out text '^rest_reset_main\('
expect in rodata '^\.rodata\._ZN4orvo4rest7versionL11kApiVersionE '
expect out rodata '^\.rodata\._ZN4orvo4rest7upgrade'
expect in bss '^\.bss .*libc\.a\(libc-tls\.o\)$'
expect in bss '^\.bss\._ZZN4orvo5utils10cameraRootB5cxx11EvE4root '
# .fini is the one code section before .text.hotpath, after .init and the PLT.
fini=$(awk '$1 == ".fini" && $2 ~ /^0x/ { print $2; exit }' "$map")
hot=$(awk '$1 == ".text.hotpath" && $2 ~ /^0x/ { print $2; exit }' "$map")
if [ -z "$fini" ] || [ -z "$hot" ] || [[ ! "$fini" < "$hot" ]]; then
  echo ".fini is not before .text.hotpath (.fini ${fini:-missing}, .text.hotpath ${hot:-missing})"
  status=1
fi
[ $status -ne 0 ] || echo "hot sections: $(grep -c . <<<"$text") code, $(grep -c . <<<"$rodata")" \
  "read-only data, $(grep -c . <<<"$bss") zeroed data lines"
exit $status
