# shellcheck shell=bash
describe_command token "token [--root DIR] VALUE|--clear" \
  "set the camera's auth token (--clear: remove it)"

cmd_token() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  [ $# -eq 1 ] && [ -n "$1" ] || die "token: give one VALUE, or --clear"
  is_camera_root "$CAMSIM_ROOT" || die "token: $CAMSIM_ROOT is not a camera root (./camsim init)"
  local folder
  folder=$(account_folder "$CAMSIM_ROOT")
  if [ "$1" = --clear ]; then
    rm -f -- "$folder/auth_token"
    return 0
  fi
  [[ ${#1} -le 256 && $1 != *$'\n'* ]] || die "token: at most 256 characters on one line"
  mkdir -p -- "$folder"
  replace_private_file "$folder/auth_token" "$1"
}
