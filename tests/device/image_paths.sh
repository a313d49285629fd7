#!/usr/bin/env bash
# The device image uses the camera's own paths whatever ORVO_ROOT says. It
# runs in a private mount namespace whose /tmp, /run and /var/log are empty
# file systems of its own (and whose /dev/log leads nowhere), so the
# machine's real folders are never touched. A failed login must leave its
# record in /var/log/btmp there; the emulator's system-call trace of a session
# check must name /tmp/.rest/.rest_0_1.db; nothing may name or land in ORVO_ROOT.
# The image and the scratch folder are opened before the empty file systems
# hide them (a checkout under /tmp is hidden too): the image is copied into
# the namespace's own /run, and what is seen is written through the open folder.
# Usage: image_paths.sh <rest.cgi image> <scratch folder> <emulator words...>
set -euo pipefail
image=$(realpath -- "$1")
scratch=$(realpath -m -- "$2")
shift 2
emulator=("$@")
[ ${#emulator[@]} -gt 0 ] || { echo "an emulator (qemu-aarch64) is needed for the trace" >&2; exit 2; }

if [ "$(id -u)" -eq 0 ]; then namespace=(unshare --mount --propagation private)
else namespace=(unshare --map-root-user --mount --propagation private); fi
if ! "${namespace[@]}" true 2>/dev/null; then
  echo "no private mount namespace here: the device image cannot be run safely" >&2
  exit 77
fi

rm -rf -- "$scratch"
mkdir -p -- "$scratch/root" "$scratch/seen"
login='{"username":"admin","password":"not-the-password"}'
"${namespace[@]}" env IMAGE="$image" SEEN="$scratch/seen" ROOT="$scratch/root" LOGIN="$login" \
  bash -s -- "${emulator[@]}" <<'INSIDE'
set -eu
exec 3<"$IMAGE" 4<"$SEEN"
for folder in /tmp /run /var/log; do mount -t tmpfs device-paths "$folder"; done
if [ -e /dev/log ]; then mount --bind /dev/null /dev/log; fi
IMAGE=/run/rest.cgi.image
cp /proc/$$/fd/3 "$IMAGE"
SEEN=/proc/$$/fd/4
run() {  # <trace file> <NAME=VALUE...>; the body is $LOGIN for a POST
  local trace=$1
  shift
  printf '%s' "$LOGIN" | env -i ORVO_ROOT="$ROOT" REMOTE_ADDR=192.0.2.10 "$@" \
    "${EMULATOR[@]}" -strace -0 /www/cgi-bin/rest.cgi "$IMAGE" >>"$SEEN/answers" 2>"$trace" || true
}
EMULATOR=("$@")
run "$SEEN/login.trace" REQUEST_METHOD=POST CONTENT_TYPE=application/json \
  CONTENT_LENGTH=${#LOGIN} QUERY_STRING=id=1.2/login
run "$SEEN/status.trace" REQUEST_METHOD=GET QUERY_STRING=id=1.2/status \
  HTTP_COOKIE=authId=0123456789abcdef
cp -a /var/log/. "$SEEN/var-log"
INSIDE

fail=0
check() {  # <description> <command...>
  if "${@:2}"; then echo "ok: $1"; else echo "FAILED: $1" >&2; fail=1; fi
}
seen=$scratch/seen
check "both answers were given" test "$(grep -c '^Status: 401' "$seen/answers")" -eq 2
check "the failed login was recorded in /var/log/btmp" test -s "$seen/var-log/btmp"
check "the session check looked for /tmp/.rest/.rest_0_1.db" grep -q '"/tmp/.rest/.rest_0_1.db"' "$seen/status.trace"
check "no system call named ORVO_ROOT" \
  test -z "$(grep -l -F "$scratch/root" "$seen/login.trace" "$seen/status.trace")"
check "nothing landed under ORVO_ROOT" test -z "$(find "$scratch/root" -mindepth 1 -print -quit)"
exit "$fail"
