#!/usr/bin/env bash
# Start-up cost of rest.cgi in page faults: the version answer may take at
# most 1.25 times the faults of a static C program printing the same answer.
# Each start of a CGI process is cold, and on the device as here most of its
# time goes to pages first touched; this fails when the program starts to
# touch many more of them (a static initialiser, the common requests' layout
# gone stale: bench/hot-layout writes it again). The fewest of five runs of
# each count, which address randomisation varies by a few.
#   start_faults.sh PEAK_RSS FLOOR_CGI REST_CGI SCRATCH_DIR
set -euo pipefail
peak_rss=$1 floor=$2 rest=$3
mkdir -p "$4"
root=$(mktemp -d "$4/start-faults.XXXXXX")
trap 'rm -rf "$root"' EXIT
# Each program is started through a path ending in its CGI name.
mkdir "$root/cgi-bin"
ln -s "$floor" "$root/cgi-bin/floor.cgi"
ln -s "$rest" "$root/cgi-bin/rest.cgi"
fewest() {  # <program>
  local least=1000000 faults
  for _ in 1 2 3 4 5; do
    faults=$("$peak_rss" --faults "$root/cgi-bin/$1" REQUEST_METHOD=GET QUERY_STRING=id=1.2/version \
      REMOTE_ADDR=127.0.0.1 ORVO_ROOT="$root")
    [ "$faults" -ge "$least" ] || least=$faults
  done
  echo "$least"
}
floor_faults=$(fewest floor.cgi)
rest_faults=$(fewest rest.cgi)
echo "version answer: rest.cgi $rest_faults page faults, static C floor $floor_faults"
if [ $((rest_faults * 4)) -gt $((floor_faults * 5)) ]; then
  echo "more than 1.25 times the floor"
  exit 1
fi
