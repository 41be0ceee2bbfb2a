#!/usr/bin/env bash
# navo-store on a store filled through the real filing procedure: it lists
# the records by type, shows one, extracts its wave, checks the store, and
# reports a damaged store clearly.
#   navo_store_cli.sh <navo-store> <navo-demo-store>
set -euo pipefail
tool=$1
demo=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

TMPDIR="$work" "$demo" "$work/navo" 5 >/dev/null || fail "demo store not built"
store=$(ls "$work"/navo/Profiles/*/NAVO.vxt)

out=$("$tool" list "$store" dictation)
[ "$(echo "$out" | tail -1)" = "5 records" ] || fail "dictation list: $out"
echo "$out" | grep -q "Letter to the bank 1" || fail "subject not shown with spaces: $out"
[ "$("$tool" list "$store" phone | tail -1)" = "10 records" ] || fail "phone list"
[ "$("$tool" list "$store" all | tail -1)" = "35 records" ] || fail "all records"

first=$(echo "$out" | tail -2 | head -1 | cut -f1)
"$tool" show "$store" "$first" | grep -q "Files in $first.vxz" || fail "show $first"
mkdir "$work/out"
wave=$("$tool" extract "$store" "$first" "$work/out")
[ "$(head -c 4 "$wave")" = "RIFF" ] || fail "extracted wave is not a wave: $wave"

"$tool" check "$store" | grep -q "35 records; no problems found" || fail "check of a sound store"

cp "$store" "$work/broken.vxt"
truncate -s 5000 "$work/broken.vxt"
if "$tool" check "$work/broken.vxt" > "$work/check.txt"; then fail "a cut-short store passed the check"; fi
grep -q "PROBLEM" "$work/check.txt" || fail "no problem reported for a cut-short store"
echo PASS
