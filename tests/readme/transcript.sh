#!/usr/bin/env bash
# README.md's commands as a test: runs the transcript (readme.t) step by
# step against a simulated camera of its own, on a fresh root and a free
# port under <build>/tmp, and checks each step's exit status, HTTP status and
# answer. It fails as well when README.md shows a command that the
# transcript neither runs nor excuses, or when the transcript runs a command
# README.md no longer shows.
#   tests/readme/transcript.sh <build> [--show] [--readme FILE] [--transcript FILE]
#   --show: run every step and print what it answered (status and shape),
#           to write or update the transcript; nothing is checked
set -euo pipefail
here=$(cd -- "$(dirname -- "$0")" && pwd)
repo=$(cd -- "$here/../.." && pwd)
build=$(realpath -- "${1:?usage: transcript.sh <build> [--show] [--readme FILE] [--transcript FILE]}")
shift
readme=$repo/README.md
transcript=$here/readme.t
show=false
while [ $# -gt 0 ]; do
  case "$1" in
    --show) show=true ;;
    --readme) readme=$(realpath -- "${2:?--readme needs a file}"); shift ;;
    --transcript) transcript=$(realpath -- "${2:?--transcript needs a file}"); shift ;;
    *) echo "transcript: unknown option '$1'" >&2; exit 2 ;;
  esac
  shift
done

failures=0
fail() {  # <message...>
  printf 'FAILED: %s\n' "$@"
  failures=$((failures + 1))
}

# shellcheck source=tests/readme/coverage.sh
source "$here/coverage.sh"
check_coverage "$readme" "$transcript" || failures=$((failures + $?))

mkdir -p -- "$build/tmp"
scratch=$(mktemp -d "$build/tmp/readme.XXXXXX")
work=$scratch/work
mkdir -p -- "$work"
# shellcheck source=tests/readme/steps.sh
source "$here/steps.sh"

# The camera's root and port, as every documented command finds them.
export ORVO_ROOT=$scratch/root ORVO_BUILD_DIR=$build ORVO_PORT
ORVO_PORT=$(free_port)
# Whatever happens, the camera is stopped; the scratch folder stays after a failure.
finish() {
  "$repo/camsim" down >/dev/null 2>&1 || true
  if [ "$failures" -eq 0 ]; then rm -rf -- "$scratch"; else echo "kept: $scratch"; fi
}
trap finish EXIT

started=$SECONDS
run_transcript "$transcript"
echo "transcript: $steps_run steps in $((SECONDS - started)) s, $failures failed"
[ "$failures" -eq 0 ]
