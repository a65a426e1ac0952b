#!/usr/bin/env bash
# Installs the SDK into a scratch prefix and builds the examples against it,
# with CMake's package config and with pkg-config, each against the shared
# library and statically, then runs them on a private virtual controller.
set -euo pipefail
# A cross build (armhf) passes its toolchain file, C compiler, emulator and
# the directory of its third-party libraries in VEXSDK_CROSS_TOOLCHAIN,
# VEXSDK_CROSS_CC, VEXSDK_CROSS_EMULATOR and VEXSDK_CROSS_LIBDIR.
build_dir=$1 source_dir=$2
cc=${VEXSDK_CROSS_CC:-cc} cross_libdir=${VEXSDK_CROSS_LIBDIR:-}
cross_link=()
[ -n "$cross_libdir" ] && cross_link=(-L"$cross_libdir" -Wl,-rpath-link,"$cross_libdir")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"; rm -f /dev/shm/vexsdk.$(id -u).sim.install-test-$$.*' EXIT
cmake --install "$build_dir" --prefix "$scratch/prefix" >/dev/null
prefix=$scratch/prefix
test -n "$(find "$prefix" -path '*man3/uart_SendCmd.3')" || { echo "no man page installed" >&2; exit 1; }
cross_cmake=()
if [ -n "${VEXSDK_CROSS_TOOLCHAIN:-}" ]; then
  # The toolchain confines package searches to its sysroot: point at ours.
  cross_cmake=(-DCMAKE_TOOLCHAIN_FILE="$VEXSDK_CROSS_TOOLCHAIN"
               -Dvexsdk_DIR="$(dirname "$(find "$prefix" -name vexsdkConfig.cmake | head -n 1)")")
fi
cmake -S "$source_dir/examples" -B "$scratch/cmake" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" "${cross_cmake[@]}" >/dev/null
cmake --build "$scratch/cmake" >/dev/null
libdir=$(dirname "$(find "$prefix" -name vexsdk.pc | head -n 1)")
libdir=$(dirname "$libdir")
export PKG_CONFIG_PATH="$libdir/pkgconfig"
[ -n "$cross_libdir" ] && export PKG_CONFIG_LIBDIR="$libdir/pkgconfig:$cross_libdir/pkgconfig"
"$cc" -std=c99 -Wall -Werror "$source_dir/examples/inventory.c" \
  $(pkg-config --cflags --libs vexsdk) "${cross_link[@]}" -o "$scratch/inventory-pc"
# Static: the archive by its flags from pkg-config --static; the system
# libraries stay shared (libtomlplusplus ships no archive).
"$cc" -std=c99 -Wall -Werror "$source_dir/examples/inventory.c" $(pkg-config --cflags vexsdk) \
  -Wl,--as-needed -Wl,-Bstatic -lvexsdk -Wl,-Bdynamic $(pkg-config --static --libs vexsdk) "${cross_link[@]}" \
  -o "$scratch/inventory-pc-static"
export VEXSDK_SIM_DIR="$scratch/sim" VEXSDK_TARGET="sim:install-test-$$"
for program in "$scratch/inventory-pc" "$scratch/cmake/inventory" "$scratch/cmake/inventory-static" \
               "$scratch/inventory-pc-static"; do
  case $program in
    *static) if readelf -d "$program" | grep -q 'libvexsdk'; then
               echo "$program needs libvexsdk.so" >&2; exit 1; fi
             LD_LIBRARY_PATH="$cross_libdir" ${VEXSDK_CROSS_EMULATOR:-} "$program" >"$scratch/out" ;;
    *) LD_LIBRARY_PATH="$libdir${cross_libdir:+:$cross_libdir}" ${VEXSDK_CROSS_EMULATOR:-} "$program" >"$scratch/out" ;;
  esac
  grep -q "8 slots" "$scratch/out" || { echo "$program:"; cat "$scratch/out"; exit 1; } >&2
done
cat "$scratch/out"
