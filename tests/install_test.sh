#!/usr/bin/env bash
# Installs the SDK into a scratch prefix and builds the examples against it,
# once with CMake's package config and once with pkg-config, then runs one.
set -euo pipefail
build_dir=$1 source_dir=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build_dir" --prefix "$scratch/prefix" >/dev/null
cmake -S "$source_dir/examples" -B "$scratch/cmake" -G Ninja \
  -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/cmake" >/dev/null
libdir=$(dirname "$(find "$scratch/prefix" -name vexsdk.pc | head -n 1)")
PKG_CONFIG_PATH="$libdir" cc -std=c99 -Wall -Werror "$source_dir/examples/inventory.c" \
  $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs vexsdk) -o "$scratch/inventory-pc"
export VEXSDK_SIM_DIR="$scratch/sim" VEXSDK_TARGET="sim:install-test-$$"
LD_LIBRARY_PATH="$(dirname "$libdir")" "$scratch/inventory-pc" | tee "$scratch/out"
grep -q "8 slots" "$scratch/out"
rm -f /dev/shm/vexsdk.$(id -u).sim.install-test-$$.*
