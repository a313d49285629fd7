# shellcheck shell=bash
describe_command init "init [--root DIR] [--force] [--user U] [--password P]" \
  "create a fresh camera root (--force: recreate it; account admin/admin by default)"

cmd_init() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  local force=false
  while [ $# -gt 0 ]; do
    case "$1" in
      --force) force=true ;;
      --user|--password) account_option "$1" "${2:-}"; shift ;;
      *) die "init: unknown option '$1'" ;;
    esac
    shift
  done
  local root=$CAMSIM_ROOT
  if [ -e "$root" ] && [ ! -d "$root" ]; then
    die "init: $root exists and is not a directory"
  fi
  if [ -d "$root" ] && ! folder_is_empty "$root"; then
    $force || die "init: $root is not empty (use --force to recreate it)"
    # Never wipe a folder that init did not make.
    is_camera_root "$root" || die "init: $root is not a camera root, not removing it"
    local pid
    if pid=$(running_web_server_pid); then
      die "init: the camera in $root is running (pid $pid); ./camsim down first"
    fi
    rm -rf -- "$root"
  fi
  make_camera_folders "$root"
  init_account "$root"
  device_init "$root"
  link_reboot_tool "$root"
  keep_factory_files "$root"
  firmware_init "$root"
  echo "camera root: $root"
}
