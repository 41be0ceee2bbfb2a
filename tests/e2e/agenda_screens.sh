#!/usr/bin/env bash
# Screenshots, by hand (not a CTest: it waits on real time): the real navo on
# a demonstration store under Xvfb. Tools > Meeting Agendas makes an agenda
# with three items (agendas.png); then the Meeting list's New Recording opens
# the Meeting Recorder, the agenda is chosen and NEXT ITEM marks its first
# item (meeting-agenda.png).
#   agenda_screens.sh <navo> <navo-demo-store> <folder for screenshots>
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
printf 'MeetCost=12.00\nHighLight=Y\n' >> "$work/NAVO.ini"

export SHOTS=$shots
export E2E_DIR NAVO_TAPI_MODULE NAVO_LINE_PROVIDERS="test line" NAVO_TEST_LINE_SOCKET="$work/line.sock" NAVO_LINE_CONFIG="$work/no-line.conf"
export NAVO_AUDIO=virtual NAVO_AUDIO_INPUT=tone:440
E2E_DIR=$(cd "$(dirname "$0")" && pwd)
NAVO_TAPI_MODULE="$(dirname "$navo")/libnavotapi.so"
"$E2E_DIR/in_xvfb.sh" 1280x1024x24 bash -c '
    set -e
    waitfor() {
        for _ in $(seq 100); do
            w=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -1) && [ -n "$w" ] && { echo "$w"; return 0; }
            sleep 0.2
        done
        return 1
    }
    TMPDIR="$0/tmp" NAVO_TRACE=1 "$0/navo" 2> "$0/trace.txt" & pid=$!
    "$E2E_DIR/cancel_modem_selection.sh"
    win=$(waitfor "^Navo for user :") || { kill $pid; exit 3; }
    sleep 1
    # Tools > Meeting Agendas...
    xdotool windowfocus --sync "$win" key alt+t
    sleep 0.5
    xdotool key m
    dlg=$(waitfor "^Navo Meeting Agendas$") || { import -window root "$SHOTS/agenda-failed.png"; kill $pid; exit 4; }
    sleep 0.5
    xdotool windowfocus --sync "$dlg" key alt+n
    xdotool type "Board meeting"
    xdotool key alt+w
    sleep 0.3
    xdotool key alt+i
    xdotool type "Minutes of the last meeting"
    xdotool key Return
    xdotool type "Budget for next year"
    xdotool key Return
    xdotool type "Any other business"
    xdotool key alt+s
    sleep 0.5
    import -window "$dlg" "$SHOTS/agendas.png"
    xdotool key Escape
    sleep 0.5
    # The Meeting item is the third of the chooser; New Recording is the
    # File menu'"'"'s first item.
    eval "$(xdotool getwindowgeometry --shell "$win")"
    xdotool mousemove $((X + 60)) $((Y + 120 + 2 * 80)) click 1
    sleep 1
    xdotool windowfocus --sync "$win" key alt+f
    sleep 0.5
    xdotool key Return
    meet=$(waitfor "^Meeting Recorder$") || { import -window root "$SHOTS/agenda-failed.png"; kill $pid; exit 5; }
    sleep 0.5
    xdotool windowfocus --sync "$meet" type "Budget review"
    xdotool key alt+g
    xdotool key Down
    sleep 0.3
    xdotool key alt+n
    sleep 0.5
    import -window "$meet" "$SHOTS/meeting-agenda.png"
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
' "$work" || fail "navo did not show the agendas"
echo "PASS: screenshots in $shots"
