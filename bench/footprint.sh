#!/usr/bin/env bash
# Footprint of the library, three rounds per target, medians:
#   load    ms from dlopen() until the first call (vex_GetSlotCount) returns
#   threads threads the library keeps at rest
#   cpu     ms of processor time the whole process used while idle
#   rss     KiB of resident memory added (anon: its private part; the rest
#           is library text shared with every process that maps it)
# against the same figures for libsqlite3 (a library of similar weight),
# measured in the same run.
#
# Each target first gets two uncounted loads, three seconds apart: the first
# makes the registry where there is none, the second (the registry now
# quiet) records the snapshot of the values the load sequence reads. The
# rounds then measure a load as programs meet it day to day; the first load
# after any registry write reads it through SQLite again (about 1 MiB more
# resident text, see docs/architecture.md).
#
#   bench/footprint.sh [BUILD_DIR] [IDLE_SECONDS]      (default build/default, 10)
set -euo pipefail
build=${1:-build/default}
idle=${2:-10}
fp=$build/bench/vexsdk_footprint
lib=$build/libvexsdk.so
vexsim=$build/vexsim
for f in "$fp" "$lib" "$vexsim"; do
  [ -e "$f" ] || { echo "footprint: $f is missing; build first (cmake --build --preset default)" >&2; exit 2; }
done
tmp=$(mktemp -d)
serve_pid=
cleanup() {
  [ -n "$serve_pid" ] && kill "$serve_pid" 2>/dev/null && wait "$serve_pid" 2>/dev/null || true
  VEXSDK_SIM_DIR=$tmp/sim "$vexsim" destroy -i fp >/dev/null 2>&1 || true
  rm -f /dev/shm/vexsdk.hw.* 2>/dev/null || true
  rm -rf "$tmp"
}
trap cleanup EXIT

# Column n (1-based) of three result lines: the median.
median() { awk -v c="$1" '{print $c}' | sort -g | sed -n 2p; }

report() {  # name, then three result lines on stdin
  local name=$1 rows
  rows=$(cat)
  printf '%-38s load %7s ms  threads %s (asleep %s)  cpu %6s ms/%ss  rss %5s KiB (anon %s)\n' "$name" \
    "$(median 1 <<<"$rows")" "$(median 2 <<<"$rows")" "$(median 6 <<<"$rows")" "$(median 3 <<<"$rows")" "$idle" \
    "$(median 4 <<<"$rows")" "$(median 5 <<<"$rows")"
  echo "$rows" > "$tmp/last"
}

rounds() {
  # warm-up, not counted (see above); its idle time (the last argument) 0
  for _ in 1 2; do sleep 3.1; "${@:1:$#-1}" 0 >/dev/null 2>&1 || true; done
  for _ in 1 2 3; do "$@"; done
}

echo "footprint of $lib, $idle s idle, medians of 3 rounds"
rounds "$fp" --baseline "$idle" | report "baseline: libsqlite3"
base_load=$(median 1 < "$tmp/last")

truncate -s $((0x41301000)) "$tmp/physmem"
rounds env VEXSDK_TARGET=hw VEXSDK_PHYSMEM="$tmp/physmem" VEXSDK_REGISTRY="$tmp/registry.db" \
  "$fp" "$lib" "$idle" | report "hardware path (file as memory)"
hw_load=$(median 1 < "$tmp/last")

export VEXSDK_SIM_DIR=$tmp/sim VEXSDK_TARGET=sim:fp
"$vexsim" serve -i fp >/dev/null 2>&1 &
serve_pid=$!
for _ in $(seq 50); do [ -e "$tmp/sim/fp/host.lock" ] && "$vexsim" show -i fp 2>/dev/null | grep -q "host: pid" && break; sleep 0.1; done
rounds "$fp" "$lib" "$idle" | report "virtual controller, vexsim hosts"
sim_load=$(median 1 < "$tmp/last")
kill "$serve_pid"; wait "$serve_pid" 2>/dev/null || true; serve_pid=

# No host running: the library starts one (vexsim host, beside the build's
# programs) that ends with the program; and, where no host program is
# found, the library hosts the controller's active parts in the program.
rounds "$fp" "$lib" "$idle" | report "virtual controller, started by it"
rounds env VEXSDK_SIM_HOST=none "$fp" "$lib" "$idle" | report "virtual controller, hosted in-process"

awk -v b="$base_load" -v h="$hw_load" -v s="$sim_load" \
  'BEGIN { printf "load time against the baseline: hardware path %.2fx, virtual controller %.2fx\n", h / b, s / b }'
