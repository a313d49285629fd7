# shellcheck shell=bash
# The transcript's steps: reading them from readme.t, running each command
# as README.md shows it (in the scratch folder, against this test's camera)
# and checking what it did. Needs: repo, here, work, show, fail.
# shellcheck disable=SC2154 # those are the sourcing script's
#
# In readme.t, lines indented by two spaces belong to a step:
#   $ COMMAND       a command README.md shows ("> " continues it)
#   % COMMAND       a step of the transcript's own (waiting for a restart, ...)
#   [N]             its exit status (0 unless given)
#   HTTP N          the HTTP status of its answer (required for every request)
#   ~ REGEX         a line of its output (headers included) matches (grep -E)
#   ? COMMAND       a shell check that must succeed, run in the scratch folder
#   = NAME          names the step's JSON pattern, which later patterns name as
#                   "<=NAME>" (or {"<=":"NAME",...}: with members changed or
#                   added); without a pattern, the step's answer matches that one
#   anything else   a JSON pattern of the answer's body (pattern.jq); without
#                   one or a "~" line matching the body, the body must be empty
# Other lines are commentary; "  - COMMAND  # reason" excuses a command.

steps_run=0
step_kind=""
step_line=0
step_file=readme.t
step_command=""
step_checks=()
# The patterns named so far ("= NAME"), as one JSON object.
named_patterns="{}"
# What the step printed, its errors, and the headers of its last answer.
step_output=$work/.step-output
step_errors=$work/.step-errors
step_headers=$work/.step-headers

# Every request of a step: quiet but for errors, bounded, its headers kept
# for the HTTP status whatever options the command gives.
curl() {
  command curl -sS --max-time 60 -D "$step_headers" "$@"
}

# A port below the kernel's range for ephemeral ports, where the other
# tests' cameras are (they take theirs from the kernel), and free now.
free_port() {
  local port tries
  for ((tries = 0; tries < 100; ++tries)); do
    port=$((20000 + RANDOM % 10000))
    if ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
      echo "$port"
      return 0
    fi
  done
  echo "transcript: no free port" >&2
  return 1
}

# Sets `localised` to a command as README.md shows it, made to run here:
# this test's port and root, the repository's own programs.
export TRANSCRIPT_REPO=$repo
localise() {  # <command>
  local text=$1 first
  text=${text//127.0.0.1:8080/127.0.0.1:$ORVO_PORT}
  text=${text// .camsim\// \"\$ORVO_ROOT\"/}
  first=${text%%[[:space:]]*}
  if [[ $first == */* && $first != /* && -x $repo/$first ]]; then
    text="\"\$TRANSCRIPT_REPO\"/${first#./}${text:${#first}}"
  fi
  localised=$text
}

# The camera has restarted <count> times in all and is up again. `camsim
# reboot` counts a restart (sim/reboots) once the daemons are stopped, and
# holds its lock until they answer again.
await_restart() {  # <count>
  local deadline=$((SECONDS + 120)) count
  while :; do
    count=$(sed -n 's/^count=//p' "$ORVO_ROOT/sim/reboots" 2>/dev/null || true)
    [ "${count:-0}" -ge "$1" ] && break
    [ "$SECONDS" -lt "$deadline" ] || { echo "no restart number $1 within 120 s" >&2; return 1; }
    sleep 0.2
  done
  flock -w 120 "$ORVO_ROOT/sim/reboot.lock" true
}

# No request of the camera holds the named lock (cgilib's locks, flock(2) on
# run/lock/orvo/<name>): what took it is done.
await_lock() {  # <name>
  flock -w 60 "$ORVO_ROOT/run/lock/orvo/$1" true
}

# Runs <shell command> until it succeeds (a minute at most).
await() {  # <shell command>
  local deadline=$((SECONDS + 60))
  until eval "$1"; do
    [ "$SECONDS" -lt "$deadline" ] || { echo "not so within 60 s: $1" >&2; return 1; }
    sleep 0.2
  done
}

# The body of what a step printed: after the headers when it printed them
# (curl -i), past any interim answer (100 Continue).
step_body() {
  awk 'NR == 1 && /^HTTP\// { headers = 1 }
    headers && /^\r?$/ { headers = (status ~ /^1/); next }
    headers { if (/^HTTP\//) status = $2; next }
    { print }' "$step_output"
}

# The status of the step's last answer, empty when it asked nothing.
http_status() {
  awk '/^HTTP\// { status = $2; sub(/\r$/, "", status) } END { print status }' "$step_headers"
}

run_transcript() {  # <transcript>
  local line number=0
  step_file=${1##*/}
  while IFS= read -r line || [ -n "$line" ]; do
    number=$((number + 1))
    case "$line" in
      '  $ '* | '  % '*)
        finish_step
        step_kind=${line:2:1}
        step_command=${line:4}
        step_line=$number
        step_checks=()
        ;;
      '  > '*) step_command+=$'\n'${line:4} ;;
      '  - '*) finish_step ;;
      '  '*) [ -z "$step_kind" ] || step_checks+=("${line:2}") ;;
      *) finish_step ;;
    esac
  done <"$1"
  finish_step
}

finish_step() {
  [ -n "$step_kind" ] || return 0
  run_step
  step_kind=""
}

# Tenths of a second since <$EPOCHREALTIME>, as "S.T".
seconds_since() {  # <start>
  local now=$EPOCHREALTIME
  local tenths=$(((${now/[.,]/} - ${1/[.,]/}) / 100000))
  took="$((tenths / 10)).$((tenths % 10))"
}

run_step() {
  local localised status=0 started=$EPOCHREALTIME took
  name_pattern || { fail "$step_file:$step_line: its named pattern is no JSON"; return 0; }
  localise "$step_command"
  : >"$step_headers"
  (cd "$work" && set +euo pipefail && eval "$localised") >"$step_output" 2>"$step_errors" </dev/null ||
    status=$?
  steps_run=$((steps_run + 1))
  seconds_since "$started"
  if $show; then show_step "$status"; return 0; fi
  local problems
  problems=$(check_step "$status")
  if [ -z "$problems" ]; then
    printf 'ok %5s s  %s:%s  %s\n' "$took" "$step_file" "$step_line" "${step_command%%$'\n'*}"
    return 0
  fi
  fail "$step_file:$step_line ($took s): $step_command"
  printf '    %s\n    --- what it printed (HTTP status %s):\n' "${problems//$'\n'/$'\n'    }" "$(http_status)"
  head -c 2000 "$step_output" | sed 's/^/    | /'
  echo "    --- its errors:"
  head -c 2000 "$step_errors" | sed 's/^/    | /'
}

# "= NAME" keeps the step's JSON pattern under that name, for later patterns
# to name as "<=NAME>"; a step with no pattern of its own takes that one whole.
name_pattern() {
  local check pattern="" name=""
  for check in "${step_checks[@]}"; do
    case "$check" in
      '= '*) name=${check:2} ;;
      '['[0-9]*']' | 'HTTP '* | '~ '* | '? '*) ;;
      *) pattern+=$check ;;
    esac
  done
  [ -n "$name" ] || return 0
  if [ -z "$pattern" ]; then step_checks+=("\"<=$name>\""); return 0; fi
  local updated
  updated=$(jq -c --arg name "$name" --argjson pattern "$pattern" '.[$name] = $pattern' \
    <<<"$named_patterns" 2>/dev/null) || return 1
  named_patterns=$updated
}

# Prints what differs from the step's checks, nothing when it passes.
check_step() {  # <exit status>
  local expected_exit=0 expected_http="" pattern="" body_checked=false check localised http body
  http=$(http_status)
  body=$(step_body)
  for check in "${step_checks[@]}"; do
    case "$check" in
      '['[0-9]*']') expected_exit=${check:1:-1} ;;
      'HTTP '*) expected_http=${check#HTTP } ;;
      '= '*) ;;
      '~ '*)
        localise "${check:2}"
        grep -Eq -- "$localised" "$step_output" || echo "no line matches: ${check:2}"
        # A line of the body that matches checks it; one of the headers does not.
        ! grep -Eq -- "$localised" <<<"$body" || body_checked=true ;;
      '? '*)
        localise "${check:2}"
        (cd "$work" && eval "$localised") >/dev/null 2>&1 || echo "check failed: ${check:2}" ;;
      *) pattern+=$check ;;
    esac
  done
  [ "$1" = "$expected_exit" ] || echo "exit status $1, not $expected_exit"
  if [ -n "$http" ] && [ -z "$expected_http" ]; then
    echo "HTTP $http: the transcript names no status for this answer"
  elif [ "$http" != "$expected_http" ]; then
    echo "HTTP status ${http:-none}, not $expected_http"
  fi
  if [ -n "$pattern" ]; then
    [ -n "$body" ] || { echo "no answer, where the transcript has a pattern"; return; }
    jq -r --arg mode check --argjson pattern "$pattern" --argjson named "$named_patterns" \
      -f "$here/pattern.jq" <<<"$body" 2>&1 ||
      echo "the answer or the transcript's pattern is no JSON"
  elif ! $body_checked && [ -n "$body" ]; then
    echo "it printed an answer the transcript does not check"
  fi
}

# --show: what the step did, in the transcript's own form.
show_step() {  # <exit status>
  echo "  $step_kind ${step_command//$'\n'/$'\n'  > }"
  [ "$1" = 0 ] || echo "  [$1]"
  local http body
  http=$(http_status)
  [ -z "$http" ] || echo "  HTTP $http"
  body=$(step_body)
  if [ -z "$body" ]; then
    :
  elif jq empty <<<"$body" >/dev/null 2>&1; then
    jq -r --arg mode shape --argjson pattern null --argjson named {} -f "$here/pattern.jq" <<<"$body" | sed 's/^/  /'
  else
    head -n 20 <<<"$body" | sed 's/^/  | /'
  fi
  [ ! -s "$step_errors" ] || head -n 5 "$step_errors" | sed 's/^/  ! /'
}
