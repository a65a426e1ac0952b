#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when missing.
# As root it installs them quietly; otherwise it says what to install.
#   scripts/install-deps.sh          the native build
#   scripts/install-deps.sh armhf    the 32-bit ARM cross build and qemu-arm
#                                    (adds the armhf architecture to dpkg)
set -euo pipefail

mode=${1:-native}
packages=(cmake ninja-build g++ clang pkg-config python3 libsqlite3-dev libtomlplusplus-dev
          libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev libmodbus-dev libblkid-dev
          python3-pytest)
case "$mode" in
  native|default|asan|tsan|clang|fuzz) ;;
  armhf)
    # The cross compiler and user-mode qemu; the armhf libraries go into a
    # private sysroot (scripts/armhf-sysroot.sh says why).
    packages+=(g++-arm-linux-gnueabihf qemu-user)
    ;;
  *) echo "install-deps: unknown mode '$mode' (native or armhf)" >&2; exit 2 ;;
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
