describe_command help "help" \
  "this list"

cmd_help() {
  echo "usage: ./camsim <command> [--root DIR] [options]"
  echo
  echo "The camera root is DIR, else \$ORVO_ROOT, else .camsim/ in the repository."
  echo
  echo "commands:"
  local name
  for name in "${CAMSIM_COMMANDS[@]}"; do
    printf '  %-42s %s\n' "${CAMSIM_USAGE[$name]}" "${CAMSIM_SUMMARY[$name]}"
  done
}
