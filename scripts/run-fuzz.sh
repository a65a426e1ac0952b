#!/usr/bin/env bash
# Builds the fuzz preset (clang, libFuzzer, AddressSanitizer and UBSan) and
# runs every fuzz target for SECONDS from its seed corpus.
#   scripts/run-fuzz.sh SECONDS
# A crash, a sanitizer report, a leak or a time-out of any target exits
# non-zero; its reproducer is kept in build/fuzz/findings/<target>/.
# Corpora grow in a scratch copy: the committed seeds stay as they are.
set -euo pipefail

usage() { echo "usage: $0 SECONDS (the time each fuzz target runs, 1..86400)" >&2; exit 2; }
[ $# -eq 1 ] || usage
case "$1" in ''|*[!0-9]*) usage ;; esac
seconds=$((10#$1))
[ "$seconds" -ge 1 ] && [ "$seconds" -le 86400 ] || usage

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
cmake --preset fuzz >/dev/null
nice cmake --build --preset fuzz

build=build/fuzz
work=$(mktemp -d "${TMPDIR:-/tmp}/vexsdk-fuzz.XXXXXX")
trap 'rm -rf "$work"' EXIT
status=0
for target in "$build"/fuzz/*_fuzz; do
  [ -x "$target" ] || continue
  name=$(basename "$target")
  seeds=fuzz/seeds/${name%_fuzz}
  corpus=$work/$name
  findings=$build/findings/$name
  mkdir -p "$corpus" "$findings"
  [ -d "$seeds" ] && cp -r "$seeds"/. "$corpus"/
  echo "== $name: ${seconds}s from ${seeds}"
  if ! "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
       -artifact_prefix="$findings/" "$corpus" >"$work/$name.log" 2>&1; then
    echo "FINDING in $name (reproducer in $findings/):" >&2
    tail -n 40 "$work/$name.log" >&2
    status=1
  else
    grep -E '^stat::number_of_executed_units' "$work/$name.log" || true
  fi
done
exit $status
