#!/usr/bin/env bash
# Screenshots, by hand (not a CTest: it drives menus and the file dialog by
# keys and waits on real time): the real navo on a demonstration store under
# Xvfb imports three files through File, Import, WAV File: two tone waves and
# one that is no sound at all. The report (import-report.png) names the
# refused file and why; the Dictation list then shows the two new records
# (import-list.png).
#   import_screens.sh <navo> <navo-demo-store> <folder for screenshots>
set -euo pipefail
. "$(dirname "$0")/e2e_lib.sh"
SHOTS=$3
e2e_init "$1"
export IN="$WORK/in"
mkdir -p "$IN"
"$2" "$WORK" 5 || fail "could not build the demonstration store"
sox -n -r 8000 -b 16 -c 1 "$IN/Harbour report.wav" synth 3 sine 440 || fail "sox could not make a tone"
sox -n -r 44100 -b 16 -c 2 "$IN/Site visit.wav" synth 2 sine 660 || fail "sox could not make a tone"
head -c 20000 /dev/urandom > "$IN/notes.wav"

e2e_x 1280x1024x24 '
    navo_start
    menu alt+f i w
    chooser=$(window "^Import WAV Files$") || give_up import 4
    sleep 0.5
    # Several files at once, as quoted full paths in the name box.
    focus "$chooser"
    xdotool type "\"$IN/Harbour report.wav\" \"$IN/Site visit.wav\" \"$IN/notes.wav\""
    sleep 0.5
    xdotool key Return
    report=$(window "^Navo$") || give_up import 5
    sleep 0.5
    shot import-report
    focus "$report"
    xdotool key Return
    sleep 1
    shot import-list
    navo_stop
' || fail "the import did not run through"
echo "PASS: screenshots in $SHOTS"
