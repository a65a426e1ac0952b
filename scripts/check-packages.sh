#!/usr/bin/env bash
# Builds the Debian packages from a build tree and proves them complete:
# unpacks them into a scratch root and checks headers, libraries, reference
# pages, tools and the Python package, then builds and runs a program
# against the unpacked SDK.
#   scripts/check-packages.sh [build dir]      (default build/default)
set -euo pipefail
fail() { echo "check-packages: $*" >&2; exit 1; }
source_dir=$(cd "$(dirname "$0")/.." && pwd)
build_dir=$(cd "${1:-$source_dir/build/default}" && pwd) || fail "no build directory"
[ -f "$build_dir/CPackConfig.cmake" ] || fail "$build_dir is not a configured build tree"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"; rm -f /dev/shm/vexsdk.$(id -u).sim.pkgcheck-$$.*' EXIT

start=$(date +%s)
echo "building the tree and the packages..."
cmake --build "$build_dir" --target vexsdk vexsdk_static vexctl vexsim vexsdk_reference >/dev/null
(cd "$build_dir" && cpack -G DEB -B "$scratch/out" >"$scratch/cpack.log" 2>&1) ||
  { cat "$scratch/cpack.log" >&2; fail "cpack failed"; }
root=$scratch/root
for deb in "$scratch"/out/*.deb; do
  echo "  $(basename "$deb"): $(dpkg-deb -f "$deb" Depends)"
  dpkg -x "$deb" "$root"
done

missing=0
need() {  # need <what> <path pattern below the root; * spans directories>
  local found
  found=$(find "$root" -path "$root/$2" -print -quit)
  if [ -z "$found" ]; then echo "  MISSING $1: /$2" >&2; missing=1; fi
}
need "header" "usr/include/vexsdk.h"
need "part headers" "usr/include/vexsdk/serial.h"
need "shared library" "usr/lib*/libvexsdk.so.1*"
need "link-time symlink" "usr/lib*/libvexsdk.so"
need "static archive" "usr/lib*/libvexsdk.a"
need "pkg-config file" "usr/lib*/pkgconfig/vexsdk.pc"
need "CMake package" "usr/lib*/cmake/vexsdk/vexsdkConfig.cmake"
need "man page" "usr/share/man/man3/uart_SendCmd.3*"
need "HTML reference" "usr/share/doc/vexsdk/html/index.html"
need "vexctl" "usr/bin/vexctl"
need "vexsim" "usr/bin/vexsim"
need "Python package" "usr/lib/python3/dist-packages/vexsdk/__init__.py"
[ $missing -eq 0 ] || fail "packages incomplete"
[ "$(ls "$scratch"/out/*.deb | wc -l)" -eq 4 ] || fail "expected 4 packages"
man -l "$(find "$root/usr/share/man/man3" -name 'uart_SendCmd.3*' | head -n 1)" 2>/dev/null |
  grep -q "VEX_ERR_UART_OPEN" || fail "man page uart_SendCmd(3) does not render"

# Use the unpacked SDK as a user would (the .pc file finds its own prefix).
libdir=$(dirname "$(find "$root/usr" -name libvexsdk.so.1 | head -n 1)")
export PKG_CONFIG_PATH="$libdir/pkgconfig"
cc -std=c99 -Wall -Werror "$source_dir/examples/inventory.c" \
  $(pkg-config --cflags --libs vexsdk) -o "$scratch/inventory"
export VEXSDK_SIM_DIR="$scratch/sim" VEXSDK_TARGET="sim:pkgcheck-$$"
LD_LIBRARY_PATH="$libdir" "$scratch/inventory" | grep -q "slots" || fail "example did not run"
LD_LIBRARY_PATH="$libdir" "$root/usr/bin/vexctl" --help >/dev/null || fail "vexctl does not run"
VEXSDK_LIBRARY="$libdir/libvexsdk.so.1" PYTHONPATH="$root/usr/lib/python3/dist-packages" \
  python3 -c "import vexsdk; assert vexsdk.slot_count() > 0; print('  python: vexsdk', vexsdk.version())" ||
  fail "the Python package does not import"
echo "packages complete ($(( $(date +%s) - start )) s)"
