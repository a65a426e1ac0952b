#!/usr/bin/env bash
# Builds the fuzz targets (in the asan build: clang, libFuzzer,
# AddressSanitizer and UBSan) and runs every target for SECONDS from its
# seed corpus, as many at once as there are processors.
#   scripts/run-fuzz.sh SECONDS
# A crash, a sanitizer report, a leak or a time-out of any target exits
# non-zero; its reproducer is kept in build/asan/findings/<target>/.
# Corpora grow in a scratch copy: the committed seeds stay as they are.
set -euo pipefail

usage() { echo "usage: $0 SECONDS (the time each fuzz target runs, 1..86400)" >&2; exit 2; }
[ $# -eq 1 ] || usage
case "$1" in ''|*[!0-9]*) usage ;; esac
seconds=$((10#$1))
[ "$seconds" -ge 1 ] && [ "$seconds" -le 86400 ] || usage

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
cmake --preset asan >/dev/null
nice cmake --build --preset fuzz

build=build/asan
work=$(mktemp -d "${TMPDIR:-/tmp}/vexsdk-fuzz.XXXXXX")
trap 'rm -rf "$work"' EXIT

# run_target NAME: one target from its seeds; its exit status goes to NAME.rc.
run_target() {
  local name=$1 seeds=fuzz/seeds/${1%_fuzz}
  local corpus=$work/$name findings=$build/findings/$name rc=0
  mkdir -p "$corpus" "$findings"
  if [ -d "$seeds" ]; then cp -r "$seeds"/. "$corpus"/; fi
  "$build/fuzz/$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$findings/" "$corpus" >"$work/$name.log" 2>&1 || rc=$?
  echo "$rc" >"$work/$name.rc"
}

targets=()
for target in "$build"/fuzz/*_fuzz; do
  [ -x "$target" ] && targets+=("$(basename "$target")")
done
[ ${#targets[@]} -gt 0 ] || { echo "no fuzz targets in $build/fuzz" >&2; exit 1; }

jobs=$(nproc)
echo "== ${#targets[@]} fuzz targets, ${seconds}s each, $jobs at a time"
for name in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n || true; done
  run_target "$name" &
done
wait

status=0
for name in "${targets[@]}"; do
  if [ "$(cat "$work/$name.rc" 2>/dev/null)" = 0 ]; then
    echo "== $name: $(grep -E '^stat::number_of_executed_units' "$work/$name.log" || echo done)"
  else
    echo "FINDING in $name (reproducer in $build/findings/$name/):" >&2
    tail -n 40 "$work/$name.log" >&2
    status=1
  fi
done
exit $status
