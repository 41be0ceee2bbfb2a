#!/usr/bin/env bash
# End to end: the real navo opening a store with a few hundred records of each
# type under Xvfb; screenshots of the Dictation list it opens with and of the
# Phone list after a click on the Phone item.
#   lists_e2e.sh <navo> <navo-demo-store> <folder for screenshots>
set -euo pipefail
navo=$1
demo=$2
shots=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$shots" "$work/tmp"
cp "$navo" "$work/navo"
fail() {
    echo "FAIL: $*" >&2
    [ -f "$work/trace.txt" ] && tail -20 "$work/trace.txt" >&2
    exit 1
}

"$demo" "$work" 300 || fail "could not build the demonstration store"

export SHOTS=$shots
# The line module built beside navo, with only a test line of this run's own.
export E2E_DIR NAVO_TAPI_MODULE NAVO_LINE_PROVIDERS="test line" NAVO_TEST_LINE_SOCKET="$work/line.sock" NAVO_LINE_CONFIG="$work/no-line.conf"
E2E_DIR=$(cd "$(dirname "$0")" && pwd)
NAVO_TAPI_MODULE="$(dirname "$navo")/libnavotapi.so"
"$E2E_DIR/in_xvfb.sh" 1280x1024x24 bash -c '
    set -e
    TMPDIR="$0/tmp" NAVO_TRACE=1 "$0/navo" 2> "$0/trace.txt" & pid=$!
    "$E2E_DIR/cancel_modem_selection.sh"
    win=
    for _ in $(seq 300); do
        win=$(xdotool search --name "^Navo for user :" 2>/dev/null | head -1) && [ -n "$win" ] && break
        sleep 0.2
    done
    [ -n "$win" ] || { kill $pid; exit 3; }
    sleep 1
    import -window root "$SHOTS/lists-dictation.png"
    # The Phone item is the fifth of the record-type chooser on the left.
    eval "$(xdotool getwindowgeometry --shell "$win")"
    xdotool mousemove $((X + 60)) $((Y + 120 + 4 * 80)) click 1
    sleep 1
    import -window root "$SHOTS/lists-phone.png"
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
' "$work" || fail "navo did not show its main window"

grep -q "^Navo closed" "$work/trace.txt" || fail "navo did not shut down in order"
for shot in lists-dictation lists-phone; do
    colours=$(identify -format '%k' "$shots/$shot.png")
    [ "$colours" -gt 50 ] || fail "$shot.png looks blank"
done
echo "PASS: screenshots in $shots"
