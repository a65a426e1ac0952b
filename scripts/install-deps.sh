#!/usr/bin/env bash
# Installs the Debian packages VEXSDK needs, when missing.
#   scripts/install-deps.sh run     what building and running need (make run)
#   scripts/install-deps.sh check   that, and what only the tests and
#                                   benchmarks need (make check)
#   scripts/install-deps.sh armhf   that, the 32-bit ARM cross compiler and
#                                   qemu-arm, and the armhf sysroot
# As root it installs them quietly; otherwise it prints the exact list of
# what is missing and the command to install it, and exits 1.
set -euo pipefail

run_packages=(cmake ninja-build g++ pkg-config python3 libsqlite3-dev libtomlplusplus-dev
              libcli11-dev libblkid-dev)
test_packages=(clang libclang-rt-dev libgtest-dev libgmock-dev libbenchmark-dev libmodbus-dev python3-pytest
               dpkg-dev man-db)

mode=${1:-check}
case "$mode" in
  run) packages=("${run_packages[@]}") ;;
  check) packages=("${run_packages[@]}" "${test_packages[@]}") ;;
  armhf)
    # The cross compiler and user-mode qemu; the armhf libraries go into a
    # private sysroot (scripts/armhf-sysroot.sh says why).
    packages=("${run_packages[@]}" "${test_packages[@]}" g++-arm-linux-gnueabihf qemu-user)
    ;;
  *) echo "usage: $0 [run|check|armhf]" >&2; exit 2 ;;
esac

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
need_arch=0
[ "$mode" = armhf ] && ! dpkg --print-foreign-architectures | grep -qx armhf && need_arch=1
if [ ${#missing[@]} -eq 0 ] && [ $need_arch -eq 0 ]; then
  [ "$mode" = armhf ] && exec "$(dirname "$0")/armhf-sysroot.sh"
  exit 0
fi

if [ "$(id -u)" -ne 0 ]; then
  [ $need_arch -eq 1 ] &&
    echo "add the architecture: sudo dpkg --add-architecture armhf && sudo apt-get update" >&2
  [ ${#missing[@]} -gt 0 ] && echo "missing packages: ${missing[*]}" >&2 &&
    echo "install them with: sudo apt-get install ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
[ $need_arch -eq 1 ] && dpkg --add-architecture armhf
[ ${#missing[@]} -gt 0 ] && echo "installing: ${missing[*]}"
# A mirror mid-sync fails one index; the install below says if it matters.
apt-get update -qq >/dev/null 2>&1 || echo "install-deps: apt-get update reported errors; trying the install anyway" >&2
[ ${#missing[@]} -gt 0 ] && apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
[ "$mode" = armhf ] && exec "$(dirname "$0")/armhf-sysroot.sh"
exit 0
