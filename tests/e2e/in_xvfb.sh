#!/usr/bin/env bash
# Runs a command under an X server of its own.
#   in_xvfb.sh <width>x<height>x<depth> command [arguments...]
# Xvfb chooses a free display itself and writes its number to us only once it
# accepts connections. "xvfb-run -a" guesses the number from lock files and
# can hand a client a display whose server is still going away; Qt then aborts
# with "could not connect to display".
set -euo pipefail
screen=$1
shift
dir=$(mktemp -d)
Xvfb -displayfd 3 -screen 0 "$screen" -nolisten tcp 3> "$dir/display" 2> "$dir/xvfb.log" &
xvfb=$!
cleanup() {
    kill "$xvfb" 2>/dev/null || true
    wait "$xvfb" 2>/dev/null || true
    rm -rf "$dir"
}
trap cleanup EXIT
for _ in $(seq 200); do
    grep -q '^[0-9]' "$dir/display" 2>/dev/null && break
    kill -0 "$xvfb" 2>/dev/null || { cat "$dir/xvfb.log" >&2; echo "in_xvfb: Xvfb did not start" >&2; exit 1; }
    sleep 0.05
done
grep -q '^[0-9]' "$dir/display" || { echo "in_xvfb: Xvfb gave no display in 10 s" >&2; exit 1; }
status=0
DISPLAY=":$(head -1 "$dir/display")" "$@" || status=$?
exit "$status"
