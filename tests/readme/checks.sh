#!/usr/bin/env bash
# The transcript test's own parts, without a camera: the commands read from
# Markdown (commands.awk), the check that README.md and the transcript name
# the same ones (coverage.sh), and the answer patterns (pattern.jq).
#   tests/readme/checks.sh <scratch folder>
set -euo pipefail
here=$(cd -- "$(dirname -- "$0")" && pwd)
mkdir -p -- "${1:?usage: checks.sh <scratch folder>}"
scratch=$(mktemp -d "$1/readme-checks.XXXXXX")
trap 'rm -rf -- "$scratch"' EXIT
failed=0
expect() {  # <description> <expected> <actual>
  [ "$2" = "$3" ] && return 0
  printf 'FAILED: %s\n--- expected:\n%s\n--- got:\n%s\n' "$1" "$2" "$3"
  failed=1
}

# Commands: a transcript block (prompts, output, a backslash and an open
# quote going on over lines) and a plain one (comments, a comment-only line).
cat >"$scratch/doc.md" <<'EOF'
Text.

    $ curl -i -H 'A: b' \
        http://h/x        # a comment
    HTTP/1.1 200 OK
    $ curl -d '{"a":1,
        "b":2}' http://h/y
    {"a":1}

More text.

    ./camsim up        # starts it
                       # (more about it)
    ./camsim down
    ./camsim status
EOF
expect "commands read from Markdown" \
  "$(printf '%s\t%s\n' 3 "curl -i -H 'A: b' http://h/x" 6 "curl -d '{\"a\":1, \"b\":2}' http://h/y" \
    12 "./camsim up" 14 "./camsim down" 15 "./camsim status")" \
  "$(awk -f "$here/commands.awk" "$scratch/doc.md")"

# Coverage: commands neither run nor excused, a step README.md does not show,
# an excuse of a command it does not show, and one without a reason.
cat >"$scratch/doc.t" <<'EOF'
Steps.

  - ./camsim down  # not here
  - ./camsim gone  # no longer shown
  - ./camsim up
  $ curl -i -H 'A: b' \
  >     http://h/x
  HTTP 200
  $ ./camsim stale
EOF
# shellcheck source=tests/readme/coverage.sh
source "$here/coverage.sh"
status=0
report=$(check_coverage "$scratch/doc.md" "$scratch/doc.t") || status=$?
expect "what the coverage check finds" \
  "FAILED: doc.md:6: a command the transcript does not run: curl -d '{\"a\":1, \"b\":2}' http://h/y
FAILED: doc.md:15: a command the transcript does not run: ./camsim status
FAILED: doc.t:4: excused, but README.md does not show it: ./camsim gone
FAILED: doc.t:9: a step README.md does not show (any more): ./camsim stale
FAILED: doc.t:5: an excuse without a reason" "$report"
expect "its count of problems" 5 "$status"

# Patterns.
differences() {  # <answer> <pattern> [named patterns]
  jq -r --arg mode check --argjson pattern "$2" --argjson named "${3:-{\}}" -f "$here/pattern.jq" <<<"$1"
}
answer='{"v":"1.2","n":3,"l":[{"a":1},{"a":2}],"e":[],"o":{"x":true}}'
expect "a matching answer" "" \
  "$(differences "$answer" '{"v":"1.2","n":"<number>","l":[{"a":"<number>"}],"e":[],"o":"<object>"}')"
expect "every difference" '.e: missing
.z: not expected
.l[1].a: a string, not a number
.n: a number, not a string
.o: an object, not a list
.v: "1.3", not "1.2"' \
  "$(differences '{"v":"1.3","n":3,"l":[{"a":1},{"a":"2"}],"o":{},"z":0}' \
    '{"v":"1.2","n":"<string>","l":[{"a":"<number>"}],"e":[],"o":["<any>"]}')"
expect "an empty list where items are due" "the answer: an empty list" "$(differences '[]' '["<any>"]')"
named='{"doc":{"a":{"b":"<number>","c":[]},"d":"<string>"}}'
expect "a named pattern" "" "$(differences '{"a":{"b":1,"c":[]},"d":"x"}' '"<=doc>"' "$named")"
expect "a named pattern with a member changed" ".a.c: an empty list" \
  "$(differences '{"a":{"b":1,"c":[]},"d":"x"}' '{"<=":"doc","a":{"c":["<string>"]}}' "$named")"
expect "an unknown name" "the answer: no pattern is named other" "$(differences '1' '"<=other>"' "$named")"
expect "the shape of an answer" '{"v":"<string>","l":[{"a":"<number>"}],"e":[]}' \
  "$(jq -r --arg mode shape --argjson pattern null --argjson named '{}' -f "$here/pattern.jq" \
    <<<'{"v":"1.2","l":[{"a":1},{"a":2}],"e":[]}')"

[ "$failed" -eq 0 ] && echo "transcript checks: all as expected"
exit "$failed"
