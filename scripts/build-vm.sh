#!/usr/bin/env bash
# The virtual camera's parts (./camsim vm up boots them under qemu-system-aarch64):
#   <vm>/cache/             Debian's arm64 kernel and busybox-static packages (apt-get download)
#   <vm>/kernel/            the kernel package's files (dpkg-deb -x; never installed)
#   <vm>/factory/           a camera root from `camsim init`: the factory state, the signing key
#   <vm>/rootfs/            the device build's install tree (cmake --install, DESTDIR), with the
#                           simulated daemons and platform tools (component "simulator")
#   <vm>/initramfs.cpio.gz  rootfs, BusyBox, the virtio and ext4 modules, the start scripts
#   <vm>/disk.img           what a camera keeps across power cycles, made by `camsim vm up`
# <vm> is $ORVO_VM_DIR or build-vm/. Prints nothing but progress on standard error.
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$PWD

scripts/install-deps.sh --vm >&2
jobs=$(nproc)
vm=${ORVO_VM_DIR:-build-vm}
[[ $vm = /* ]] || vm=$repo/$vm
host=${ORVO_BUILD_DIR:-build}
[[ $host = /* ]] || host=$repo/$host
device=${ORVO_DEVICE_DIR:-build-device}
[[ $device = /* ]] || device=$repo/$device
mkdir -p "$vm/cache"

# The newest version of a package for arm64, downloaded once into the cache.
fetch_package() {  # <package> -> prints the .deb
  local name=$1 deb
  deb=$(find "$vm/cache" -maxdepth 1 -name "${name}_*_arm64.deb" | sort | tail -n 1)
  if [ -z "$deb" ]; then
    (cd "$vm/cache" && apt-get download "$name:arm64" >&2)
    deb=$(find "$vm/cache" -maxdepth 1 -name "${name}_*_arm64.deb" | sort | tail -n 1)
  fi
  [ -n "$deb" ] || { echo "build-vm: cannot fetch $name" >&2; exit 1; }
  echo "$deb"
}

# linux-image-arm64 names the kernel of the day; its package holds the
# image. A kernel in the cache is kept (ORVO_VM_NEW_KERNEL=1 asks again).
kernel_deb=$(find "$vm/cache" -maxdepth 1 -name 'linux-image-[0-9]*_arm64.deb' | sort | tail -n 1)
if [ -z "$kernel_deb" ] || [ "${ORVO_VM_NEW_KERNEL:-0}" = 1 ]; then
  kernel_package=$(apt-cache depends linux-image-arm64:arm64 |
    sed -n 's/^ *Depends: \(linux-image-[0-9][^:]*\).*/\1/p' | head -n 1)
  [ -n "$kernel_package" ] || { echo "build-vm: no arm64 kernel package known to apt" >&2; exit 1; }
  kernel_deb=$(fetch_package "$kernel_package")
fi
busybox_deb=$(fetch_package busybox-static)
if [ ! -f "$vm/kernel/.from" ] || [ "$(cat "$vm/kernel/.from")" != "$kernel_deb" ]; then
  rm -rf "$vm/kernel" && mkdir -p "$vm/kernel"
  dpkg-deb -x "$kernel_deb" "$vm/kernel"
  echo "$kernel_deb" >"$vm/kernel/.from"
fi
rm -rf "$vm/busybox" && mkdir -p "$vm/busybox" && dpkg-deb -x "$busybox_deb" "$vm/busybox"
cp "$(find "$vm/kernel/boot" -name 'vmlinuz-*' | head -n 1)" "$vm/Image"

# The factory state and the maker's key pair: a camera root made by this
# machine's simulator tools (the private key stays here, in factory/sim/).
[ -f "$host/CMakeCache.txt" ] || cmake -S . -B "$host" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$host" -j "$jobs" --target orvo_fwimage orvo_fwupdate orvo_system_cfg orvo_support \
  orvo_simd orvo_bus_call orvo_openapi >&2
if [ ! -f "$vm/factory/etc/orvo/fw-signing.pub" ]; then
  ORVO_SIM_BIN=$host/sim ./camsim init --root "$vm/factory" --force >&2
fi

# The device build: the image, then the simulator's programs beside it, all
# static for AArch64, installed as a firmware team would.
scripts/build-device.sh >&2
cmake -S . -B "$device" -DORVO_FW_PUBLIC_KEY="$vm/factory/etc/orvo/fw-signing.pub" \
  -DORVO_API_REFERENCE_DIR="$host/docs/api" >/dev/null
cmake --build "$device" -j "$jobs" --target orvo_simd orvo_bus_call orvo_system_cfg orvo_support \
  orvo_fwupdate >&2
rm -rf "$vm/rootfs"
DESTDIR="$vm/rootfs" cmake --install "$device" --prefix / --strip >&2
DESTDIR="$vm/rootfs" cmake --install "$device" --prefix / --strip --component simulator >&2

# bench/vm's two programs, in the guest only for its measurements.
# Compiled here: the cross build's own floor target mixes -static with the
# toolchain's -static-pie, which does not run. The floor is a static PIE, as
# rest.cgi is.
if [ "${ORVO_VM_BENCH:-0}" = 1 ]; then
  mkdir -p "$vm/rootfs/usr/lib/orvo-bench"
  aarch64-linux-gnu-gcc -Os -s -static-pie -o "$vm/rootfs/www/cgi-bin/floor" bench/floor_cgi.c
  aarch64-linux-gnu-gcc -Os -s -static -o "$vm/rootfs/usr/lib/orvo-bench/peak_rss" bench/peak_rss.c
fi

scripts/vm-initramfs.sh "$vm" "$repo/device/vm"
