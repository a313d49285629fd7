# shellcheck shell=bash
describe_command vm "vm up [--port N] [--shell-port N] [--fresh] | vm down | vm status | vm console | vm exec [COMMAND...]" \
  "the virtual AArch64 camera: its own kernel, BusyBox init and httpd, /tmp in RAM and a disk for what survives a power cycle, under qemu-system-aarch64 on 127.0.0.1:N (8090); --fresh: a factory-new disk; exec: a command in its shell (the port after N unless --shell-port; no COMMAND: the script on standard input), with its output and exit status"

# How long `vm up` waits for the first answer (software emulation is slow).
VM_UP_WAIT_SECONDS=300
VM_DISK_MIB=16

vm_dir() {
  local vm=${ORVO_VM_DIR:-build-vm}
  [[ $vm = /* ]] || vm="$CAMSIM_REPO/$vm"
  echo "$vm"
}
vm_state_dir() { echo "$(vm_dir)/camera"; }

running_vm_pid() {
  local file pid
  file="$(vm_state_dir)/qemu.pid"
  [ -s "$file" ] || return 1
  pid=$(<"$file")
  [[ $pid =~ ^[0-9]+$ ]] || return 1
  [[ "$(cat "/proc/$pid/comm" 2>/dev/null)" = qemu-system-* ]] || return 1
  process_alive "$pid" && echo "$pid"
}

cmd_vm() {
  local command=${1:-status}
  [ $# -gt 0 ] && shift
  case "$command" in
    up) vm_up "$@" ;;
    down) vm_down ;;
    status) vm_status ;;
    console) vm_console ;;
    exec) vm_exec "$@" ;;
    *) die "vm: unknown command '$command' (up, down, status, console, exec)" ;;
  esac
}

# The disk a new camera leaves the factory with: the camera description, the
# system configuration, the account and the factory copy, and the public
# firmware key of the install tree.
make_vm_disk() {  # <image>
  local vm content
  vm=$(vm_dir)
  content=$(mktemp -d "$(vm_state_dir)/disk.XXXXXX")
  mkdir -p "$content/etc/orvo" "$content/sim"
  cp -- "$vm/factory/etc/orvo/"{camera_info.json,system.cfg,account} "$content/etc/orvo/"
  cp -- "$vm/rootfs/etc/orvo/fw-signing.pub" "$content/etc/orvo/"
  cp -a -- "$vm/factory/sim/factory" "$content/sim/factory"
  rm -f -- "$1"
  truncate -s "${VM_DISK_MIB}M" "$1"
  mkfs.ext4 -q -F -L orvo -d "$content" "$1"
  rm -rf -- "$content"
}

vm_up() {
  local port=8090 shell_port="" fresh=false
  while [ $# -gt 0 ]; do
    case "$1" in
      --port) [ $# -ge 2 ] && [[ $2 =~ ^[0-9]{1,5}$ ]] || die "vm up: --port needs a number"
        port=$2; shift ;;
      --shell-port) [ $# -ge 2 ] && [[ $2 =~ ^[0-9]{1,5}$ ]] || die "vm up: --shell-port needs a number"
        shell_port=$2; shift ;;
      --fresh) fresh=true ;;
      *) die "vm up: unknown option '$1'" ;;
    esac
    shift
  done
  local state pid
  state=$(vm_state_dir)
  if pid=$(running_vm_pid); then
    echo "camsim: the virtual camera is running (pid $pid)" >&2
    base_url "$(cat "$state/port")"
    return 0
  fi
  "$CAMSIM_REPO/scripts/build-vm.sh" || die "vm up: building the virtual camera failed"
  local vm
  vm=$(vm_dir)
  mkdir -p -- "$state"
  if $fresh || [ ! -f "$state/disk.img" ]; then make_vm_disk "$state/disk.img"; fi
  rm -f -- "$state/qemu.pid" "$state/console.sock"
  : >"$state/serial.log"
  echo "$port" >"$state/port"
  shell_port=${shell_port:-$((port + 1))}
  echo "$shell_port" >"$state/shell-port"
  local started=$SECONDS
  # A guest reboot resets the machine: kernel and init start again.
  qemu-system-aarch64 -M virt -cpu cortex-a53 -m 256M -smp 1 \
    -kernel "$vm/Image" -initrd "$vm/initramfs.cpio.gz" \
    -append "console=ttyAMA0 quiet loglevel=3 panic=1" \
    -display none -monitor none \
    -chardev "socket,id=serial0,path=$state/console.sock,server=on,wait=off,logfile=$state/serial.log" \
    -serial chardev:serial0 \
    -netdev "user,id=net0,hostfwd=tcp:127.0.0.1:$port-:80,hostfwd=tcp:127.0.0.1:$shell_port-:2323" -device virtio-net-device,netdev=net0 \
    -drive "file=$state/disk.img,if=none,format=raw,id=disk0" -device virtio-blk-device,drive=disk0 \
    -daemonize -pidfile "$state/qemu.pid" || die "vm up: qemu did not start"
  local tries=$((VM_UP_WAIT_SECONDS * 2))
  until curl -s -o /dev/null --max-time 2 "$(base_url "$port")/cgi-bin/rest.cgi?id=1.2/version"; do
    running_vm_pid >/dev/null || die "vm up: the virtual camera stopped (see $state/serial.log)"
    tries=$((tries - 1))
    [ "$tries" -gt 0 ] || die "vm up: no answer within ${VM_UP_WAIT_SECONDS}s (see $state/serial.log)"
    sleep 0.5
  done
  echo "camsim: first answer $((SECONDS - started)) s after start (emulated)" >&2
  base_url "$port"
}

vm_down() {
  local pid
  if pid=$(running_vm_pid); then
    stop_process "$pid" qemu 10
    echo "virtual camera stopped (pid $pid)"
  else
    echo "the virtual camera was not running"
  fi
  rm -f -- "$(vm_state_dir)/qemu.pid"
}

# The boots are counted on the camera's disk; each start prints its number.
vm_status() {
  local state pid boots
  state=$(vm_state_dir)
  if pid=$(running_vm_pid); then
    echo "virtual camera: running (pid $pid) at $(base_url "$(cat "$state/port")")"
  else
    echo "virtual camera: not running"
  fi
  boots=$(grep -ao 'orvo-vm: boot [0-9]*' "$state/serial.log" 2>/dev/null | tail -n 1 || true)
  boots=${boots##* }
  echo "boots: ${boots:-0}"
}

vm_console() {
  running_vm_pid >/dev/null || die "vm console: the virtual camera is not running"
  command -v socat >/dev/null || die "vm console: socat is not installed (scripts/install-deps.sh --vm)"
  echo "camsim: the camera's serial console; leave with Ctrl-]" >&2
  socat "-,raw,echo=0,escape=0x1d" "UNIX-CONNECT:$(vm_state_dir)/console.sock"
}

# One command in the guest's shell (its port 2323, device/vm/exec): the
# script goes out whole, the answer is "<status> <output bytes> <error
# bytes>" and the two outputs. Exits with the command's status.
VM_EXEC_WAIT_SECONDS=600
vm_exec() {
  running_vm_pid >/dev/null || die "vm exec: the virtual camera is not running"
  command -v socat >/dev/null || die "vm exec: socat is not installed (scripts/install-deps.sh --vm)"
  local state reply header status out
  state=$(vm_state_dir)
  reply=$(mktemp "${TMPDIR:-/tmp}/camsim-exec.XXXXXX")
  if [ $# -gt 0 ]; then printf '%s\n' "$*"; else cat; fi |
    socat -t "$VM_EXEC_WAIT_SECONDS" - "TCP:127.0.0.1:$(cat "$state/shell-port")" >"$reply" || true
  header=$(head -n 1 "$reply")
  if ! [[ $header =~ ^([0-9]+)\ ([0-9]+)\ ([0-9]+)$ ]]; then
    rm -f -- "$reply"
    die "vm exec: the camera's shell did not answer"
  fi
  status=${BASH_REMATCH[1]} out=${BASH_REMATCH[2]}
  tail -c +$((${#header} + 2)) "$reply" | head -c "$out"
  tail -c +$((${#header} + 2 + out)) "$reply" >&2
  rm -f -- "$reply"
  return "$status"
}
