#!/usr/bin/env bash
# Packs the virtual camera's initramfs: the install tree (<vm>/rootfs),
# BusyBox (init, shell, httpd, syslogd), the kernel modules the guest needs
# and the start scripts of <scripts dir>. Writes <vm>/initramfs.cpio.gz.
set -euo pipefail
vm=$1 scripts=$2

# Dependencies first; virtio_mmio carries the virt machine's devices.
modules=(crc16 mbcache jbd2 crc32c_generic ext4 virtio_mmio virtio_blk failover net_failover virtio_net)
daemons=(orvo_networkd orvo_ispserver orvo_streamer orvo_osd orvo_nvr
  orvo_analytics orvo_sounds_leds orvo_ctlserver orvo_avclient)

stage=$vm/initramfs
rm -rf "$stage"
cp -a "$vm/rootfs" "$stage"
mkdir -p "$stage"/{bin,sbin,usr/bin,usr/sbin,proc,sys,dev,tmp,run,var,data,sim,etc/orvo,etc/init.d,lib/modules}
cp "$vm/busybox/bin/busybox" "$stage/bin/busybox"
# The applets BusyBox has (its own list, read through the emulator).
for applet in $(qemu-aarch64 "$stage/bin/busybox" --list-full); do
  [ -e "$stage/$applet" ] || ln -s /bin/busybox "$stage/$applet"
done
ln -sf bin/busybox "$stage/init"
install -m 0644 "$scripts/inittab" "$stage/etc/inittab"
install -m 0755 "$scripts/rcS" "$stage/etc/init.d/rcS"
install -m 0755 "$scripts/rcK" "$stage/etc/init.d/rcK"
install -m 0755 "$scripts/daemon" "$stage/sbin/orvo-daemon"
install -m 0755 "$scripts/exec" "$stage/sbin/orvo-exec"
printf '%s\n' "${daemons[@]}" >"$stage/etc/orvo-daemons"
echo "root:x:0:0:root:/:/bin/sh" >"$stage/etc/passwd"
echo "root:x:0:" >"$stage/etc/group"

kernel_modules=$(find "$vm/kernel/lib/modules" -mindepth 1 -maxdepth 1 -type d | head -n 1)
: >"$stage/lib/modules/load-order"
for module in "${modules[@]}"; do
  file=$(find "$kernel_modules" -name "$module.ko" | head -n 1)
  [ -n "$file" ] || { echo "vm-initramfs: the kernel has no module $module" >&2; exit 1; }
  cp "$file" "$stage/lib/modules/"
  echo "$module" >>"$stage/lib/modules/load-order"
done
# The kernel's first console; made only where we may (as root).
mknod -m 600 "$stage/dev/console" c 5 1 2>/dev/null || true

(cd "$stage" && find . -mindepth 1 | LC_ALL=C sort | cpio -o -H newc -R 0:0 --quiet) |
  gzip -6 >"$vm/initramfs.cpio.gz.new"
mv -f "$vm/initramfs.cpio.gz.new" "$vm/initramfs.cpio.gz"
echo "initramfs: $vm/initramfs.cpio.gz ($(stat -c %s "$vm/initramfs.cpio.gz") bytes)" >&2
