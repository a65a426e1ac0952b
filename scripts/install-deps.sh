#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when missing.
# As root it installs them quietly; otherwise it says what to install.
set -euo pipefail

packages=(cmake ninja-build g++ clang pkg-config python3 libsqlite3-dev libtomlplusplus-dev
          libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev libmodbus-dev libblkid-dev
          python3-pytest)

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
