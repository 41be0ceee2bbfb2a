#!/usr/bin/env bash
# "navo --version" and "navo --help" answer on standard output and exit 0
# without a display (no window is opened), and leave the portable folder as
# it was: no NAVO.ini, no Profiles/.
#   navo_cli.sh <path to navo>
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$1" "$work/navo"
fail() { echo "FAIL: $*" >&2; exit 1; }
for option in --version --help; do
    out=$(env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb "$work/navo" "$option") \
        || fail "navo $option exited with $?"
    [ -n "$out" ] || fail "navo $option printed nothing"
done
env -u DISPLAY QT_QPA_PLATFORM=xcb "$work/navo" --version | grep -Eq '^navo [0-9]+\.[0-9]+\.[0-9]+$' \
    || fail "navo --version does not print 'navo X.Y.Z'"
env -u DISPLAY QT_QPA_PLATFORM=xcb "$work/navo" --help | grep -q '^Usage: navo' || fail "navo --help shows no usage"
[ "$(ls "$work")" = navo ] || fail "navo touched its folder: $(ls "$work")"
echo PASS
