#!/usr/bin/env bash
# The README's example is a program a newcomer copies: it must build as
# strict, warning-free C99 against the header and the library, and run.
set -euo pipefail
source_dir=$1 library=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"; rm -f /dev/shm/vexsdk.$(id -u).sim.readme-$$.*' EXIT
awk '/^## Using the library/{s=1} s&&/^```c$/{c=1;next} c&&/^```$/{exit} c' \
  "$source_dir/README.md" >"$scratch/example.c"
if ! grep -q 'main' "$scratch/example.c"; then
  echo "no C example under '## Using the library' in README.md" >&2
  exit 1
fi
cc -std=c99 -Wall -Wextra -pedantic -Werror -I"$source_dir/include" "$scratch/example.c" \
  "$library" -Wl,-rpath,"$(dirname "$library")" -o "$scratch/example"
VEXSDK_SIM_DIR="$scratch/sim" VEXSDK_TARGET="sim:readme-$$" "$scratch/example" >"$scratch/out"
cat "$scratch/out"
grep -q "slots" "$scratch/out"
