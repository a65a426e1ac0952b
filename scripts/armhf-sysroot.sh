#!/usr/bin/env bash
# Unpacks the armhf builds of the libraries the cross build links against
# into a private sysroot (default build/armhf-sysroot), beside the cross
# compiler's own C and C++ runtime in /usr/arm-linux-gnueabihf.
#
# A private sysroot rather than dpkg multiarch: multiarch installs need the
# armhf and amd64 builds of every shared package at the very same version,
# which a mirror mid-sync (or a security update published for one
# architecture first) breaks for hours. Unpacking needs no root, leaves the
# machine's packages alone and is redone only when the list below changes.
# Needs the armhf architecture known to apt (install-deps.sh armhf adds it).
set -euo pipefail

root=${1:-"$(cd "$(dirname "$0")/.." && pwd)/build/armhf-sysroot"}
packages=(libsqlite3-dev libsqlite3-0 libtomlplusplus-dev libtomlplusplus3
          libgtest-dev libgmock-dev libbenchmark-dev libbenchmark1debian
          libblkid-dev libblkid1 uuid-dev libuuid1 libmodbus-dev libmodbus5 libcli11-dev)
stamp="$root/.packages"
want="${packages[*]}"
[ -f "$stamp" ] && [ "$(cat "$stamp")" = "$want" ] && exit 0

if ! dpkg --print-foreign-architectures | grep -qx armhf; then
  echo "armhf-sysroot: apt does not know the armhf architecture;" \
       "run scripts/install-deps.sh armhf as root first" >&2
  exit 1
fi
debs=$(mktemp -d)
chmod 755 "$debs"   # apt fetches as its own unprivileged user
trap 'rm -rf "$debs"' EXIT
specs=()
for p in "${packages[@]}"; do
  [ "$p" = libcli11-dev ] && specs+=("$p") || specs+=("$p:armhf")
done
echo "armhf-sysroot: fetching ${#specs[@]} packages into $root"
(cd "$debs" && apt-get download -qq "${specs[@]}" >/dev/null) || {
  echo "armhf-sysroot: apt-get download failed (is the armhf index fetched? apt-get update)" >&2
  exit 1
}
rm -rf "$root"
mkdir -p "$root"
for deb in "$debs"/*.deb; do
  dpkg-deb -x "$deb" "$root"
done
# Absolute links (libfoo.so -> /lib/...) must point inside the sysroot.
find "$root" -type l -lname '/*' | while read -r link; do
  ln -sfn "$root$(readlink "$link")" "$link"
done
echo "$want" > "$stamp"
