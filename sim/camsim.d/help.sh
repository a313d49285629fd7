# shellcheck shell=bash
describe_command help "help" "this list"

# Usage texts longer than this put their summary on the next line.
HELP_USAGE_WIDTH=42

cmd_help() {
  echo "usage: ./camsim <command> [--root DIR] [options]"
  echo
  echo "The camera root is DIR, else \$ORVO_ROOT, else .camsim/ in the repository."
  echo
  echo "commands:"
  local name usage
  for name in "${CAMSIM_COMMANDS[@]}"; do
    usage=${CAMSIM_USAGE[$name]}
    if [ ${#usage} -le $HELP_USAGE_WIDTH ]; then
      printf '  %-*s %s\n' "$HELP_USAGE_WIDTH" "$usage" "${CAMSIM_SUMMARY[$name]}"
    else
      printf '  %s\n  %-*s %s\n' "$usage" "$HELP_USAGE_WIDTH" "" "${CAMSIM_SUMMARY[$name]}"
    fi
  done
}
