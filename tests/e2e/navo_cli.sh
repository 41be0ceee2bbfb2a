#!/usr/bin/env bash
# "navo --version" and "navo --help" answer on standard output and exit 0
# without a display (no window is opened), and leave the portable folder as
# it was: no NAVO.ini, no Profiles/.
#   navo_cli.sh <path to navo>
set -euo pipefail
. "$(dirname "$0")/e2e_lib.sh"
e2e_init "$1" portable
for option in --version --help; do
    out=$(env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb "$NAVO" "$option") \
        || fail "navo $option exited with $?"
    [ -n "$out" ] || fail "navo $option printed nothing"
done
env -u DISPLAY QT_QPA_PLATFORM=xcb "$NAVO" --version | grep -Eq '^navo [0-9]+\.[0-9]+\.[0-9]+$' \
    || fail "navo --version does not print 'navo X.Y.Z'"
env -u DISPLAY QT_QPA_PLATFORM=xcb "$NAVO" --help | grep -q '^Usage: navo' || fail "navo --help shows no usage"
[ "$(ls "$WORK/portable")" = navo ] || fail "navo touched its folder: $(ls "$WORK/portable")"
echo PASS
