#!/usr/bin/env bash
# The device build: rest.cgi for the camera (AArch64 Linux), statically linked
# and small, cross-compiled with Debian's toolchain (cmake/aarch64-linux-gnu.cmake).
#   scripts/build-device.sh          the image: build-device/rest.cgi (stripped),
#                                    built with ORVO_DEVICE_BUILD (the camera's own paths)
#   scripts/build-device.sh --tests [TARGET...]
#                                    also the same code, root-aware, with its tests (or only
#                                    these targets of it), in build-device-tests/; ctest runs
#                                    them under qemu-aarch64
#   scripts/build-device.sh --sim    only the root-aware rest.cgi of build-device-tests/, for
#                                    the simulated camera (./camsim up --device); prints its path
# Prints the image's path and stripped size. ORVO_DEVICE_DIR moves build-device/.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=image
case "${1:-}" in
  --tests) mode=tests; shift ;;
  --sim) mode=sim ;;
  "") ;;
  *) echo "unknown option: $1" >&2; exit 2 ;;
esac
targets=()
for target in "$@"; do targets+=(--target "$target"); done

scripts/install-deps.sh --device
jobs=$(nproc)
image_dir=${ORVO_DEVICE_DIR:-build-device}
[[ $image_dir = /* ]] || image_dir=$PWD/$image_dir
tests_dir=${image_dir}-tests
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
configure=(-G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/aarch64-linux-gnu.cmake"
  -DCMAKE_BUILD_TYPE=MinSizeRel "${launcher[@]}")

image=$image_dir/rest.cgi
if [ "$mode" = sim ]; then
  [ -f "$tests_dir/CMakeCache.txt" ] ||
    cmake -S . -B "$tests_dir" "${configure[@]}" -DORVO_DEVICE_IMAGE="$image" >/dev/null
  cmake --build "$tests_dir" -j "$jobs" --target rest.cgi >&2
  echo "$tests_dir/src/rest.cgi"
  exit 0
fi

cmake -S . -B "$image_dir" "${configure[@]}" -DORVO_DEVICE_BUILD=ON -DORVO_TESTS=OFF >/dev/null
cmake --build "$image_dir" -j "$jobs" --target rest.cgi >&2
aarch64-linux-gnu-strip -o "$image" "$image_dir/src/rest.cgi"
if [ "$mode" = tests ]; then
  # The camera roots of the emulated tests hold this machine's simulator
  # programs: rest.cgi runs the root's tools, which must run natively.
  host_dir=${ORVO_BUILD_DIR:-build}
  [[ $host_dir = /* ]] || host_dir=$PWD/$host_dir
  [ -f "$host_dir/CMakeCache.txt" ] || cmake -S . -B "$host_dir" -G Ninja \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" >/dev/null
  cmake --build "$host_dir" -j "$jobs" --target orvo_simd orvo_bus_call orvo_system_cfg \
    orvo_support orvo_fwimage orvo_fwupdate >&2
  # Libraries found before the toolchain took static archives only are
  # looked up again.
  cmake -S . -B "$tests_dir" "${configure[@]}" -DORVO_DEVICE_IMAGE="$image" \
    -DORVO_HOST_SIM_BIN="$host_dir/sim" -U 'ZLIB_LIBRARY*' -U 'JPEG_LIBRARY*' >/dev/null
  cmake --build "$tests_dir" -j "$jobs" "${targets[@]}" >&2
fi
echo "device image: $image ($(stat -c %s "$image") bytes stripped)"
