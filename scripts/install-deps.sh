#!/usr/bin/env bash
# Installs the Debian packages the project builds, tests and runs with.
# Does nothing when they are all present.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  clang libclang-rt-14-dev          # sanitizer and fuzzer builds
  libgtest-dev libgmock-dev         # unit tests
  rapidjson-dev libboost-url1.81-dev libcrypt-dev
  lighttpd curl                     # the simulated camera's web server, the tests' HTTP client
  openssl                           # camsim hashes the simulated account's password
  hyperfine                         # whole-process benchmarks
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}" >&2
if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
