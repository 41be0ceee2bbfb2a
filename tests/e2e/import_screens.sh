#!/usr/bin/env bash
# Screenshots, by hand (not a CTest: it drives menus and the file dialog by
# keys and waits on real time): the real navo on a demonstration store under
# Xvfb imports three files through File, Import, WAV File: two tone waves and
# one that is no sound at all. The report (import-report.png) names the
# refused file and why; the Dictation list then shows the two new records
# (import-list.png).
#   import_screens.sh <navo> <navo-demo-store> <folder for screenshots>
set -euo pipefail
navo=$1
demo=$2
shots=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$shots" "$work/tmp" "$work/in"
cp "$navo" "$work/navo"
fail() { echo "FAIL: $*" >&2; [ -f "$work/trace.txt" ] && tail -20 "$work/trace.txt" >&2; exit 1; }

"$demo" "$work" 5 || fail "could not build the demonstration store"
sox -n -r 8000 -b 16 -c 1 "$work/in/Harbour report.wav" synth 3 sine 440 || fail "sox could not make a tone"
sox -n -r 44100 -b 16 -c 2 "$work/in/Site visit.wav" synth 2 sine 660 || fail "sox could not make a tone"
head -c 20000 /dev/urandom > "$work/in/notes.wav"

export SHOTS=$shots IN="$work/in"
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
    # File, Import, WAV File...
    xdotool windowfocus --sync "$win" key alt+f
    sleep 0.5
    xdotool key i
    sleep 0.5
    xdotool key w
    chooser=
    for _ in $(seq 50); do
        chooser=$(xdotool search --onlyvisible --name "^Import WAV Files$" 2>/dev/null | head -1) && [ -n "$chooser" ] && break
        sleep 0.2
    done
    [ -n "$chooser" ] || { import -window root "$SHOTS/import-failed.png"; kill $pid; exit 4; }
    sleep 0.5
    # Several files at once, as quoted full paths in the name box.
    xdotool windowfocus --sync "$chooser" type "\"$IN/Harbour report.wav\" \"$IN/Site visit.wav\" \"$IN/notes.wav\""
    sleep 0.5
    xdotool key Return
    report=
    for _ in $(seq 100); do
        report=$(xdotool search --onlyvisible --name "^Navo$" 2>/dev/null | head -1) && [ -n "$report" ] && break
        sleep 0.2
    done
    [ -n "$report" ] || { import -window root "$SHOTS/import-failed.png"; kill $pid; exit 5; }
    sleep 0.5
    import -window root "$SHOTS/import-report.png"
    xdotool windowfocus --sync "$report" key Return
    sleep 1
    import -window root "$SHOTS/import-list.png"
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
' "$work" || fail "the import did not run through"
echo "PASS: screenshots in $shots"
