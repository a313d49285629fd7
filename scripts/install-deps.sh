#!/usr/bin/env bash
# Installs the Debian packages the project builds, tests and runs with, and
# the pinned npm tools of tools/openapi (npm ci from its lock file).
# Does nothing when they are all present.
#   --device   also the device build's: the AArch64 cross compiler, the arm64
#              libraries we link (Debian multiarch) and qemu user-mode emulation
#   --vm       also the virtual camera's (./camsim vm up): the device build's,
#              qemu-system-aarch64, cpio, e2fsprogs, socat
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache
  clang libclang-rt-14-dev          # sanitizer and fuzzer builds
  libgtest-dev libgmock-dev         # unit tests
  rapidjson-dev libboost-url1.81-dev
  libjpeg-dev zlib1g-dev            # the simulated camera: still image, support bundle
  libsodium-dev                     # firmware signatures, password hashes (static archive)
  lighttpd curl                     # the simulated camera's web server, the tests' HTTP client
  busybox                           # its second web server (camsim up --server busybox)
  openssl                           # camsim hashes the simulated account's password
  hyperfine valgrind                # whole-process benchmarks (times, instruction counts)
  shellcheck                        # the scripts are checked by the test suite
  jq                                # README.md's commands as a test: the answers' shapes
  chromium                          # the API reference is checked in a headless browser
)

device_packages=(
  g++-aarch64-linux-gnu qemu-user
  libgtest-dev:arm64 libgmock-dev:arm64
  libsodium-dev:arm64 zlib1g-dev:arm64 libjpeg-dev:arm64
)
# The virtual camera's: the AArch64 system emulator, the initramfs and disk
# tools, and the serial console's client (the arm64 kernel and BusyBox are
# downloaded as packages into the build, never installed).
vm_packages=(qemu-system-arm cpio e2fsprogs socat)
for option in "$@"; do
  case "$option" in
    --device) packages+=("${device_packages[@]}") ;;
    --vm) packages+=("${device_packages[@]}" "${vm_packages[@]}") ;;
    *) echo "install-deps: unknown option $option" >&2; exit 2 ;;
  esac
done

# One query for all (`camsim up` runs this every time): a package of the
# machine's own architecture is named with or without it.
declare -A installed=()
native=$(dpkg --print-architecture)
while read -r name state; do
  [ "$state" = ii ] || continue
  installed[$name]=1
  installed[${name%:"$native"}]=1
done < <(dpkg-query -W -f='${binary:Package} ${db:Status-Abbrev}\n' "${packages[@]}" 2>/dev/null || true)
missing=()
for p in "${packages[@]}"; do
  [ -n "${installed[$p]:-}" ] || missing+=("$p")
done
# Node and npm for the API description's tools: Debian's, unless a node
# with its own npm is installed already.
command -v node >/dev/null && command -v npm >/dev/null || missing+=(nodejs npm)

if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}" >&2
  if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
  export DEBIAN_FRONTEND=noninteractive
  if [[ " ${missing[*]}" == *:arm64* ]] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
    "${sudo[@]}" dpkg --add-architecture arm64
  fi
  "${sudo[@]}" apt-get update -qq
  "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# The npm tools exactly as each folder's package-lock.json pins them: the
# Redocly CLI (tools/openapi) and playwright-core with axe-core for the
# browser tests (tools/browser; it drives Debian's chromium and downloads no
# browser). The copy of the lock file inside node_modules says which one is there.
repo="$(cd "$(dirname "$0")/.." && pwd)"
for tools in "$repo/tools/openapi" "$repo/tools/browser"; do
  if ! cmp -s "$tools/package-lock.json" "$tools/node_modules/.installed-lock.json"; then
    echo "installing: the npm packages of ${tools#"$repo"/}" >&2
    (cd "$tools" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 \
      npm ci --prefer-offline --no-audit --no-fund --ignore-scripts >/dev/null)
    cp "$tools/package-lock.json" "$tools/node_modules/.installed-lock.json"
  fi
done
