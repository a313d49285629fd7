#!/usr/bin/env bash
# The virtual camera end to end, as CI runs it: boot; version, login, status,
# settings read and write; the web console in a browser; a firmware upload,
# check and upgrade that shows the new version after the camera's own
# restart; a reboot that keeps the settings and ends the sessions; a factory
# reset. Boots a factory-new disk on a port of its own and stops the camera
# when done.
#   tests/vm/camera_test.sh [PORT]
set -euo pipefail
cd "$(dirname "$0")/../.."
port=${1:-18090}
base="http://127.0.0.1:$port/cgi-bin/rest.cgi?id=1.2"
work=$(mktemp -d "${TMPDIR:-/tmp}/vm-test.XXXXXX")
passed=0
failed=0
trap './camsim vm down >/dev/null || true; rm -rf -- "$work"' EXIT

check() {  # <description> <command...>
  if "${@:2}"; then
    passed=$((passed + 1)); echo "ok: $1"
  else
    failed=$((failed + 1)); echo "FAILED: $1"
  fi
}
# status code of a request; the body goes to $work/body
request() {  # <method> <endpoint> [curl arguments...]
  curl -s -o "$work/body" -w '%{http_code}' --max-time 60 -X "$1" -b "$work/jar" -c "$work/jar" \
    "${@:3}" "$base/$2"
}
body_has() { grep -q -- "$1" "$work/body"; }
boots() { ./camsim vm status | sed -n 's/^boots: //p'; }
# Waits until the camera has booted more than <count> times and answers.
await_boot() {  # <count>
  local tries=600
  while [ "$tries" -gt 0 ]; do
    if [ "$(boots)" -gt "$1" ] &&
      curl -s -o /dev/null --max-time 2 "$base/version"; then
      return 0
    fi
    sleep 0.5
    tries=$((tries - 1))
  done
  return 1
}
# The web console in Chromium against this camera (tests/vm/console.test.mjs);
# its report is shown only when it fails.
console_in_browser() {
  ORVO_CAMERA_URL="http://127.0.0.1:$port" ORVO_SOURCE_DIR="$PWD" ORVO_BINARY_DIR="$PWD/build-vm" \
    node --test tests/vm/console.test.mjs >"$work/console.log" 2>&1 || { cat "$work/console.log"; return 1; }
}
login() {
  rm -f "$work/jar"
  request POST login -H 'Content-Type: application/json' -d '{"username":"admin","password":"admin"}'
}

start=$SECONDS
./camsim vm up --port "$port" --fresh
echo "first answer after $((SECONDS - start)) s (emulated, build included)"

check "version answers 200" [ "$(request GET version)" = 200 ]
check "version body" body_has '"version":"1.2"'
check "status refuses without a session" [ "$(request GET status)" = 401 ]
check "login" [ "$(login)" = 200 ]
check "status with the session" [ "$(request GET status)" = 200 ]
check "status names the board" body_has '"board"'
check "settings read" [ "$(request GET settings)" = 200 ]
check "settings write" [ "$(request PUT settings -H 'Content-Type: application/json' \
  -d '{"isp":{"contrast":63}}')" = 200 ]
request GET settings >/dev/null
check "settings read back" body_has '"contrast":63'
check "the web console, from login to logout" console_in_browser

new_version=OV-B4.v4.24.0.68.abc1234.230601.1200
ORVO_SIM_BIN=${ORVO_BUILD_DIR:-build}/sim ./camsim fwimage --root build-vm/factory \
  --version "$new_version" "$work/fw.bin" >/dev/null
check "firmware check" [ "$(request POST check -F "fwfile=@$work/fw.bin")" = 200 ]
check "firmware upload" [ "$(request POST firmware -F "fwfile=@$work/fw.bin")" = 200 ]
check "upload names the version" body_has "$new_version"
before=$(boots)
check "upgrade" [ "$(request GET upgrade)" = 200 ]
check "the camera restarts after the upgrade" await_boot "$before"
check "login after the upgrade" [ "$(login)" = 200 ]
request GET status >/dev/null
check "status shows the new version" body_has "\"version\":\"$new_version\""

before=$(boots)
check "reboot" [ "$(request POST reboot -d '')" = 200 ]
check "the camera comes back" await_boot "$before"
check "the session ended with the restart" [ "$(request GET status)" = 401 ]
check "login after the reboot" [ "$(login)" = 200 ]
request GET settings >/dev/null
check "settings kept across the reboot" body_has '"contrast":63'

before=$(boots)
check "factory reset" [ "$(request GET reset)" = 200 ]
check "the camera comes back after the reset" await_boot "$before"
check "login with the factory account" [ "$(login)" = 200 ]
request GET settings >/dev/null
check "settings are the factory's" body_has '"contrast":50'

echo "vm: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
