#!/usr/bin/env bash
# The parts of src/ depend one way. Each file lies in the folder of its part,
# and includes from its own folder or from one below it, never from one
# above, so no cycle can form between the parts:
#   entry -> access -> endpoints -> shared -> cgi
# (entry: main and dispatch; access: who may ask; endpoints: one module
# each; shared: helpers of several endpoints; cgi: the request and response).
#   src_layers.sh SRC_DIR
#   src_layers.sh --self-test SRC_DIR SCRATCH_DIR
#     (a copy in SCRATCH_DIR with one back edge added must fail)
set -euo pipefail
if [ "$1" = --self-test ]; then
  mkdir -p "$3"
  copy=$(mktemp -d "$3/src-layers.XXXXXX")
  trap 'rm -rf "$copy"' EXIT
  cp -R "$2/." "$copy"
  echo '#include "entry/dispatch.h"' >>"$copy/cgi/orvo_cgi.cpp"
  if out=$("$0" "$copy"); then echo "a back edge passed the check"; exit 1; fi
  grep -Fq 'cgi/orvo_cgi.cpp: includes "entry/dispatch.h": entry/ is above cgi/' <<<"$out"
  exit 0
fi
src=$1
# Each part's place from the top.
declare -A rank=([entry]=0 [access]=1 [endpoints]=2 [shared]=3 [cgi]=4)

status=0
for file in "$src"/*; do
  case $file in */CMakeLists.txt) continue ;; esac
  [ -f "$file" ] && { echo "${file#"$src"/}: not in the folder of a part"; status=1; }
done
while IFS= read -r file; do
  relative=${file#"$src"/}
  folder=${relative%%/*}
  own=${rank[$folder]:-}
  if [ -z "$own" ]; then echo "$relative: $folder/ is not a part"; status=1; continue; fi
  while IFS= read -r included; do
    target=${included%%/*}
    if [ "$target" = "$included" ]; then
      # A bare name would hide which part it comes from.
      if [ -e "$src/$folder/$included" ]; then
        echo "$relative: includes \"$included\" without its folder"; status=1
      fi
      continue
    fi
    theirs=${rank[$target]:-}
    [ -z "$theirs" ] && continue  # messages/, orvo/ and the libraries
    if [ "$theirs" -lt "$own" ]; then
      echo "$relative: includes \"$included\": $target/ is above $folder/"
      status=1
    fi
  done < <(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"\([^"]*\)".*/\1/p' "$file")
done < <(find "$src" -mindepth 2 -type f \( -name '*.h' -o -name '*.cpp' \) | sort)
exit "$status"
