#!/usr/bin/env bash
# Installs the Debian packages VEXSDK needs, when missing.
#   scripts/install-deps.sh run     what building and running need (make run)
#   scripts/install-deps.sh check   that, and what only the tests and
#                                   benchmarks need (make check)
# As root it installs them quietly; otherwise it prints the exact list of
# what is missing and the command to install it, and exits 1.
set -euo pipefail

run_packages=(cmake ninja-build g++ pkg-config python3 libsqlite3-dev libtomlplusplus-dev
              libcli11-dev libblkid-dev)
test_packages=(clang libgtest-dev libgmock-dev libbenchmark-dev libmodbus-dev python3-pytest)

case "${1:-check}" in
  run) packages=("${run_packages[@]}") ;;
  check) packages=("${run_packages[@]}" "${test_packages[@]}") ;;
  *) echo "usage: $0 [run|check]" >&2; exit 2 ;;
esac

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  echo "missing packages: ${missing[*]}" >&2
  echo "install them with: sudo apt-get install ${missing[*]}" >&2
  exit 1
fi
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq >/dev/null
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
