#!/usr/bin/env bash
# Installs the Debian packages the project builds, tests and runs with.
# Does nothing when they are all present.
#   --device   also the device build's: the AArch64 cross compiler, the arm64
#              libraries we link (Debian multiarch) and qemu user-mode emulation
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  clang libclang-rt-14-dev          # sanitizer and fuzzer builds
  libgtest-dev libgmock-dev         # unit tests
  rapidjson-dev libboost-url1.81-dev
  libjpeg-dev zlib1g-dev            # the simulated camera: still image, support bundle
  libsodium-dev                     # firmware signatures, password hashes (static archive)
  lighttpd curl                     # the simulated camera's web server, the tests' HTTP client
  openssl                           # camsim hashes the simulated account's password
  hyperfine valgrind                # whole-process benchmarks (times, instruction counts)
  shellcheck                        # the scripts are checked by the test suite
)

device_packages=(
  g++-aarch64-linux-gnu qemu-user
  libgtest-dev:arm64 libgmock-dev:arm64
  libsodium-dev:arm64 zlib1g-dev:arm64 libjpeg-dev:arm64
)
if [ "${1:-}" = --device ]; then
  packages+=("${device_packages[@]}")
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}" >&2
if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
if [[ " ${missing[*]}" == *:arm64* ]] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
  "${sudo[@]}" dpkg --add-architecture arm64
fi
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
