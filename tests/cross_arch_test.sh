#!/usr/bin/env bash
# A 32-bit and a 64-bit program on one PC never share a virtual controller
# instance: the state's lock differs between them, so each refuses the
# other's instance with a message naming its maker, and leaves it intact.
# Run by the cross build: its vexsim under the emulator against the native
# build's vexsim (skipped, exit 77, when that one is not built).
set -euo pipefail
native=$1 emulator=$2 cross=$3
if [ ! -x "$native" ]; then
  echo "no native vexsim at $native (build the default preset first)"
  exit 77
fi
scratch=$(mktemp -d)
export VEXSDK_SIM_DIR="$scratch" VEXSDK_TARGET="sim:cross-arch-$$" VEXSDK_SIM_HOST=none
cleanup() {
  "$native" destroy >/dev/null 2>&1 || true
  "$emulator" "$cross" destroy >/dev/null 2>&1 || true
  rm -rf "$scratch"
}
trap cleanup EXIT

fail() { echo "FAIL: $*"; exit 1; }

# $1 maker (run with no prefix or with the emulator), $2 refuser, $3 maker's words.
check_refusal() {
  local made_by=$1 refuser=$2 words=$3 out
  # (A command that changes the controller makes its instance; show only looks.)
  $made_by set dip 5 >/dev/null || fail "the maker cannot make its instance"
  $made_by show >/dev/null || fail "the maker cannot show its own instance"
  if out=$($refuser show 2>&1); then fail "an instance of $words was shared: $out"; fi
  echo "$out"
  grep -q "made by $words" <<<"$out" || fail "the refusal does not name $words"
  $made_by show >/dev/null || fail "the refusal harmed the maker's instance"
  $made_by destroy >/dev/null
}

bits=$(getconf LONG_BIT)   # the native build is the machine's own word size
check_refusal "$native" "$emulator $cross" "a $bits-bit process"
check_refusal "$emulator $cross" "$native" "a 32-bit process"
echo "ok"
