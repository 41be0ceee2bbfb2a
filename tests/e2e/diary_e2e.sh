#!/usr/bin/env bash
# End to end: the real navo on a demonstration store under Xvfb, the Diary
# list chosen, New Recording opens the Diary Recorder, PICKUP records from
# the virtual input; screenshot of the recorder while it records.
#   diary_e2e.sh <navo> <navo-demo-store> <folder for screenshots>
set -euo pipefail
navo=$1
demo=$2
shots=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$shots" "$work/tmp"
cp "$navo" "$work/navo"
fail() { echo "FAIL: $*" >&2; exit 1; }

"$demo" "$work" 20 || fail "could not build the demonstration store"

export SHOTS=$shots
export E2E_DIR NAVO_TAPI_MODULE NAVO_LINE_PROVIDERS="test line" NAVO_TEST_LINE_SOCKET="$work/line.sock" NAVO_LINE_CONFIG="$work/no-line.conf"
export NAVO_AUDIO=virtual NAVO_AUDIO_INPUT=tone:440
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
    # The Diary item is the sixth of the record-type chooser on the left.
    eval "$(xdotool getwindowgeometry --shell "$win")"
    xdotool mousemove $((X + 60)) $((Y + 120 + 5 * 80)) click 1
    sleep 1
    import -window root "$SHOTS/diary-list.png"
    # New Recording: the File menu'"'"'s first item.
    xdotool windowfocus --sync "$win" key alt+f
    sleep 0.5
    xdotool key Return
    rec=
    for _ in $(seq 50); do
        rec=$(xdotool search --name "^Diary Recorder$" 2>/dev/null | head -1) && [ -n "$rec" ] && break
        sleep 0.2
    done
    [ -n "$rec" ] || { import -window root "$SHOTS/diary-failed.png"; kill $pid; exit 4; }
    sleep 0.5
    xdotool windowfocus --sync "$rec" type "Dentist at ten"
    # PICKUP, below the Keywords field on the left.
    eval "$(xdotool getwindowgeometry --shell "$rec")"
    xdotool mousemove $((X + 50)) $((Y + 100)) click 1
    sleep 1.5
    import -window root "$SHOTS/diary.png"
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
' "$work" || fail "navo did not open the Diary Recorder"
echo "PASS: screenshots in $shots"
