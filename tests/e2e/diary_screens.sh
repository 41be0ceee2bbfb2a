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
. "$(dirname "$0")/e2e_lib.sh"
SHOTS=$3
e2e_init "$1"
export NAVO_AUDIO=virtual NAVO_AUDIO_INPUT=tone:440
"$2" "$WORK" 20 || fail "could not build the demonstration store"
printf 'ADiary=Y\nMeetCost=12.00\nHighLight=Y\n' >> "$WORK/NAVO.ini"

e2e_x 1280x1024x24 '
    navo_start
    choose_list 5
    shot diary-list
    # New Recording is the first item of the File menu.
    menu alt+f Return
    rec=$(window "^Diary Recorder$") || give_up diary 4
    sleep 0.5
    focus "$rec"
    xdotool type "Dentist at ten"
    # PICKUP, below the Keywords field on the left.
    eval "$(xdotool getwindowgeometry --shell "$rec")"
    xdotool mousemove $((X + 50)) $((Y + 100)) click 1
    sleep 1.5
    shot diary
    xdotool mousemove $((X + 222)) $((Y + 100)) click 1
    sleep 0.5
    xdotool mousemove $((X + 542)) $((Y + 575)) click 1
    # The entry is due now: the monitor asks, Yes opens the reminder.
    ask=$(window "^Navo$") || give_up diary 5
    sleep 0.5
    focus "$ask"
    xdotool key Return
    rem=$(window "^Navo Diary Reminder$") || give_up diary 6
    sleep 1
    shot reminder
    focus "$rem"
    xdotool key Escape
    sleep 0.5
    choose_list 2
    menu alt+f Return
    meet=$(window "^Meeting Recorder$") || give_up diary 7
    sleep 0.5
    focus "$meet"
    xdotool type "Budget review"
    eval "$(xdotool getwindowgeometry --shell "$meet")"
    xdotool mousemove $((X + 50)) $((Y + 127)) click 1
    sleep 2.5
    shot meeting
    navo_stop
' || fail "navo did not open the Diary Recorder"
echo "PASS: screenshots in $SHOTS"
