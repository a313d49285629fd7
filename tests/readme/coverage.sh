# shellcheck shell=bash
# Which of README.md's commands the transcript runs. Both files are read by
# commands.awk, so a command is named the same in both however it is wrapped:
# the transcript's steps ("  $ ", continued by "  > ") as a prompted block,
# its excused commands ("  - COMMAND  # reason") as a plain one. Needs: here.
# shellcheck disable=SC2154 # `here` is the sourcing script's

# The transcript's README commands, "<line>\t<command>", at their own lines.
transcript_commands() {  # <transcript>
  awk '{
    if (/^  \$ /) print "    $ " substr($0, 5)
    else if (/^  > /) print "    " substr($0, 5)
    else print "    |"
  }' "$1" | awk -f "$here/commands.awk"
}

# The commands the transcript excuses, with the reason after "#".
excused_commands() {  # <transcript>
  awk '{ if (/^  - /) print "    " substr($0, 5); else print "" }' "$1" | awk -f "$here/commands.awk"
}

# Prints a line for each command README.md shows that the transcript neither
# runs nor excuses, each step that runs a command README.md does not show,
# and each excuse without a reason or without its command; returns how many.
check_coverage() {  # <readme> <transcript>
  local readme=$1 transcript=$2 problems
  problems=$(awk -F '\t' -v readme="${readme##*/}" -v transcript="${transcript##*/}" '
    FILENAME == ARGV[1] { shown[$2] = 1; if (!($2 in at)) at[$2] = $1; next }
    FILENAME == ARGV[2] { run[$2] = 1; if (!($2 in ran_at)) ran_at[$2] = $1; next }
    { excused[$2] = 1; excused_at[$2] = $1 }
    END {
      for (c in at) if (!(c in run) && !(c in excused))
        printf "%s:%d: a command the transcript does not run: %s\n", readme, at[c], c
      for (c in ran_at) if (!(c in shown))
        printf "%s:%d: a step README.md does not show (any more): %s\n", transcript, ran_at[c], c
      for (c in excused_at) if (!(c in shown))
        printf "%s:%d: excused, but README.md does not show it: %s\n", transcript, excused_at[c], c
    }' <(awk -f "$here/commands.awk" "$readme") <(transcript_commands "$transcript") \
      <(excused_commands "$transcript") | sort -t: -k1,1 -k2,2n)
  # Every excuse gives its reason.
  problems+=$(awk -v transcript="${transcript##*/}" '/^  - / && !/[ \t]#[ \t]*[^ \t]/ {
      printf "\n%s:%d: an excuse without a reason\n", transcript, NR }' "$transcript")
  [ -n "$problems" ] || return 0
  local count
  count=$(grep -c . <<<"$problems")
  sed 's/^/FAILED: /' <<<"$(grep . <<<"$problems")"
  return "$count"
}
