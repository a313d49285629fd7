# shellcheck shell=bash
# Firmware for the simulated camera: images (`fwimage`), the maker's signing
# key pair and the update tool /sbin/fwupdate that `init` puts into a root,
# and the update tool's test control (`ctl fwupdate duration MS`).

FWIMAGE_USAGE="fwimage [--root DIR] --version V [--payload-size BYTES] [--unsigned | --key FILE] [--corrupt header|payload|signature] OUT | fwimage --new-key FILE"
describe_command fwimage "$FWIMAGE_USAGE" \
  "build a firmware image, signed with the root's maker key unless --unsigned or --key; --new-key makes a key (FILE, FILE.pub)"

# The maker's key pair: the public half where the camera reads it, the
# private half in the simulator's folder, never read by the camera.
FW_PUBLIC_KEY=etc/orvo/fw-signing.pub
FW_PRIVATE_KEY=sim/fw-signing.key
FWUPDATE_DURATION_CONTROL=sim/fwupdate/duration-ms
FWUPDATE_REBOOT_CONTROL=sim/fwupdate/reboot

firmware_init() {  # <root>
  local root=$1 fwupdate fwimage
  fwupdate=$(sim_program orvo_fwupdate)
  fwimage=$(sim_program orvo_fwimage)
  if [ -x "$fwupdate" ] && [ -x "$fwimage" ]; then
    ln -sfn -- "$(realpath -- "$fwupdate")" "$root/sbin/fwupdate"
    rm -f -- "$root/$FW_PRIVATE_KEY"
    "$fwimage" keygen "$root/$FW_PRIVATE_KEY" "$root/$FW_PUBLIC_KEY" ||
      die "init: cannot make the firmware signing key"
  else
    echo "camsim: $fwupdate or $fwimage is not built; no firmware key or update tool" \
      "(build the orvo_fwupdate and orvo_fwimage targets)" >&2
  fi
}

cmd_fwimage() {
  take_root "$@"
  shift "$CAMSIM_SHIFT"
  local build_args=() key="" unsigned=false new_key="" out=""
  while [ $# -gt 0 ]; do
    case "$1" in
      --version|--payload-size|--corrupt)
        [ $# -ge 2 ] || die "fwimage: $1 needs a value"
        build_args+=("$1" "$2"); shift ;;
      --key) [ $# -ge 2 ] || die "fwimage: --key needs a file"; key=$2; shift ;;
      --new-key) [ $# -ge 2 ] || die "fwimage: --new-key needs a file"; new_key=$2; shift ;;
      --unsigned) unsigned=true ;;
      -*) die "fwimage: unknown option '$1'" ;;
      *) [ -z "$out" ] || die "fwimage: usage: $FWIMAGE_USAGE"; out=$1 ;;
    esac
    shift
  done
  local tool
  tool=$(sim_program orvo_fwimage)
  if [ -n "$new_key" ]; then
    [ ${#build_args[@]} -eq 0 ] && [ -z "$out$key" ] && ! $unsigned ||
      die "fwimage: --new-key takes no other option"
    "$tool" keygen "$new_key" "$new_key.pub" || die "fwimage: cannot make a key"
    echo "private key: $new_key, public key: $new_key.pub"
    return 0
  fi
  [ -n "$out" ] || die "fwimage: usage: $FWIMAGE_USAGE"
  if $unsigned; then
    [ -z "$key" ] || die "fwimage: --unsigned and --key exclude each other"
    build_args+=(--unsigned)
  else
    if [ -z "$key" ]; then
      key="$CAMSIM_ROOT/$FW_PRIVATE_KEY"
      [ -f "$key" ] || die "fwimage: no maker key in $CAMSIM_ROOT (./camsim init makes one)"
    fi
    build_args+=(--key "$key")
  fi
  "$tool" build "${build_args[@]}" "$out" || die "fwimage: no image written"
}

fwupdate_control() {  # duration MS | reboot on|off
  local file
  if [ $# -eq 2 ] && [ "$1" = duration ] && [[ $2 =~ ^[0-9]{1,7}$ ]]; then
    file="$CAMSIM_ROOT/$FWUPDATE_DURATION_CONTROL"
  elif [ $# -eq 2 ] && [ "$1" = reboot ] && { [ "$2" = on ] || [ "$2" = off ]; }; then
    # on: the camera restarts after flashing, as the device does.
    file="$CAMSIM_ROOT/$FWUPDATE_REBOOT_CONTROL"
  else
    die "ctl: usage: ctl [--root DIR] fwupdate duration MS|reboot on|off"
  fi
  mkdir -p -- "${file%/*}"
  printf '%s\n' "$2" >"$file.new" && mv -f -- "$file.new" "$file"
}
