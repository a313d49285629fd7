#!/usr/bin/env bash
# The device image uses the camera's own paths whatever ORVO_ROOT says. It is
# run in a private mount namespace whose /tmp, /run and /var/log are empty
# file systems of their own, so the machine's real folders are never touched;
# what it wrote there is copied out and compared with the root it was given.
# Usage: image_paths.sh <rest.cgi image> <scratch folder> [emulator words...]
set -euo pipefail
image=$(realpath -- "$1")
scratch=$2
shift 2
emulator=("$@")

if [ "$(id -u)" -eq 0 ]; then namespace=(unshare --mount --propagation private)
else namespace=(unshare --map-root-user --mount --propagation private); fi
if ! "${namespace[@]}" true 2>/dev/null; then
  echo "no private mount namespace here: cannot run the device image safely" >&2
  exit 77
fi

rm -rf -- "$scratch"
mkdir -p -- "$scratch/root/var/log" "$scratch/root/tmp" "$scratch/seen"
case "$scratch" in /tmp/*|/run/*|/var/log/*) echo "scratch must lie outside /tmp, /run, /var/log" >&2; exit 2 ;; esac

# Inside: an unknown endpoint (logs an error) and a session check (takes the
# session database's lock, reads the database), then what landed where.
"${namespace[@]}" env IMAGE="$image" SEEN="$scratch/seen" ROOT="$scratch/root" \
  bash -c '
    set -eu
    for folder in /tmp /run /var/log; do mount -t tmpfs device-paths "$folder"; done
    run() { env -i ORVO_ROOT="$ROOT" REQUEST_METHOD=GET REMOTE_ADDR=192.0.2.10 "$@" \
      '"${emulator[*]:+${emulator[*]} -0 /www/cgi-bin/rest.cgi}"' "$IMAGE" >>"$SEEN/answers" || true; }
    run QUERY_STRING=id=1.2/unknown_endpoint
    run QUERY_STRING=id=1.2/status HTTP_COOKIE=authId=0123456789abcdef
    cp /var/log/messages "$SEEN/messages" 2>/dev/null || true
    ls -A /run/lock/orvo >"$SEEN/locks" 2>/dev/null || true
  '

fail=0
check() {  # <description> <command...>
  if "${@:2}"; then echo "ok: $1"; else echo "FAILED: $1" >&2; fail=1; fi
}
check "the answers were given" grep -q "Status: 500" "$scratch/seen/answers"
check "the error went to /var/log/messages" \
  grep -q "No RESTful service called 'unknown_endpoint'" "$scratch/seen/messages"
check "the session lock was taken under /run/lock/orvo" test -s "$scratch/seen/locks"
check "nothing was written under ORVO_ROOT" \
  test -z "$(find "$scratch/root" -type f -print -quit)" -a ! -e "$scratch/root/run"
exit "$fail"
