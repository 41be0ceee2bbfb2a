#!/usr/bin/env bash
# Screenshots, by hand (not a CTest: it clicks at fixed positions and waits
# on real time): the real navo on a demonstration store under Xvfb, with the
# diary monitor started at start-up ("ADiary"). The Diary list chosen, New
# Recording opens the Diary Recorder and PICKUP records from the virtual
# input (screenshot diary.png); OK files an entry due now, the monitor
# reminds of it and the Diary Reminder plays it (reminder.png); then the
# Meeting Recorder records with its cost timers (meeting.png).
#   diary_screens.sh <navo> <navo-demo-store> <folder for screenshots>
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
printf 'ADiary=Y\nMeetCost=12.00\nHighLight=Y\n' >> "$work/NAVO.ini"

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
    xdotool mousemove $((X + 222)) $((Y + 100)) click 1
    sleep 0.5
    xdotool mousemove $((X + 542)) $((Y + 575)) click 1
    # The entry is due now: the monitor asks, Yes opens the reminder.
    ask=
    for _ in $(seq 100); do
        ask=$(xdotool search --onlyvisible --name "^Navo$" 2>/dev/null | head -1) && [ -n "$ask" ] && break
        sleep 0.2
    done
    [ -n "$ask" ] || { import -window root "$SHOTS/diary-failed.png"; kill $pid; exit 5; }
    sleep 0.5
    xdotool windowfocus --sync "$ask" key Return
    rem=
    for _ in $(seq 50); do
        rem=$(xdotool search --onlyvisible --name "^Navo Diary Reminder$" 2>/dev/null | head -1) && [ -n "$rem" ] && break
        sleep 0.2
    done
    [ -n "$rem" ] || { import -window root "$SHOTS/diary-failed.png"; kill $pid; exit 6; }
    sleep 1
    import -window root "$SHOTS/reminder.png"
    xdotool windowfocus --sync "$rem" key Escape
    sleep 0.5
    # The Meeting item is the third of the chooser.
    eval "$(xdotool getwindowgeometry --shell "$win")"
    xdotool mousemove $((X + 60)) $((Y + 120 + 2 * 80)) click 1
    sleep 1
    xdotool windowfocus --sync "$win" key alt+f
    sleep 0.5
    xdotool key Return
    meet=
    for _ in $(seq 50); do
        meet=$(xdotool search --onlyvisible --name "^Meeting Recorder$" 2>/dev/null | head -1) && [ -n "$meet" ] && break
        sleep 0.2
    done
    [ -n "$meet" ] || { import -window root "$SHOTS/diary-failed.png"; kill $pid; exit 7; }
    sleep 0.5
    xdotool windowfocus --sync "$meet" type "Budget review"
    eval "$(xdotool getwindowgeometry --shell "$meet")"
    xdotool mousemove $((X + 50)) $((Y + 127)) click 1
    sleep 2.5
    import -window root "$SHOTS/meeting.png"
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
' "$work" || fail "navo did not open the Diary Recorder"
echo "PASS: screenshots in $shots"
