#!/usr/bin/env bash
# Installs the SDK into a scratch prefix and builds the examples against it,
# once with CMake's package config and once with pkg-config, then runs one.
set -euo pipefail
# A cross build (armhf) passes its toolchain file, C compiler, emulator and
# the directory of its third-party libraries in VEXSDK_CROSS_TOOLCHAIN,
# VEXSDK_CROSS_CC, VEXSDK_CROSS_EMULATOR and VEXSDK_CROSS_LIBDIR.
build_dir=$1 source_dir=$2
cross_cmake=() cross_link=() cross_libdir=${VEXSDK_CROSS_LIBDIR:-}
if [ -n "${VEXSDK_CROSS_TOOLCHAIN:-}" ]; then
  # The toolchain confines package searches to its sysroot: point at ours.
  cross_cmake=(-DCMAKE_TOOLCHAIN_FILE="$VEXSDK_CROSS_TOOLCHAIN" -Dvexsdk_DIR=)
  cross_link=(-Wl,-rpath-link,"$cross_libdir")
fi
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build_dir" --prefix "$scratch/prefix" >/dev/null
if [ ${#cross_cmake[@]} -gt 0 ]; then
  cross_cmake[1]=-Dvexsdk_DIR="$(dirname "$(find "$scratch/prefix" -name vexsdkConfig.cmake | head -n 1)")"
fi
cmake -S "$source_dir/examples" -B "$scratch/cmake" -G Ninja \
  -DCMAKE_PREFIX_PATH="$scratch/prefix" "${cross_cmake[@]}" >/dev/null
cmake --build "$scratch/cmake" >/dev/null
libdir=$(dirname "$(find "$scratch/prefix" -name vexsdk.pc | head -n 1)")
"${VEXSDK_CROSS_CC:-cc}" -std=c99 -Wall -Werror "$source_dir/examples/inventory.c" \
  $(PKG_CONFIG_PATH="$libdir" PKG_CONFIG_LIBDIR="$libdir" pkg-config --cflags --libs vexsdk) \
  "${cross_link[@]}" -o "$scratch/inventory-pc"
export VEXSDK_SIM_DIR="$scratch/sim" VEXSDK_TARGET="sim:install-test-$$"
LD_LIBRARY_PATH="$(dirname "$libdir")${cross_libdir:+:$cross_libdir}" \
  ${VEXSDK_CROSS_EMULATOR:-} "$scratch/inventory-pc" | tee "$scratch/out"
grep -q "8 slots" "$scratch/out"
rm -f /dev/shm/vexsdk.$(id -u).sim.install-test-$$.*
