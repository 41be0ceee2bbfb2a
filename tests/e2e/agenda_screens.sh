#!/usr/bin/env bash
# Screenshots, by hand (not a CTest: it waits on real time): the real navo on
# a demonstration store under Xvfb. Tools > Meeting Agendas makes an agenda
# with three items (agendas.png); then the Meeting list's New Recording opens
# the Meeting Recorder, the agenda is chosen and NEXT ITEM marks its first
# item (meeting-agenda.png).
#   agenda_screens.sh <navo> <navo-demo-store> <folder for screenshots>
set -euo pipefail
. "$(dirname "$0")/e2e_lib.sh"
SHOTS=$3
e2e_init "$1"
export NAVO_AUDIO=virtual NAVO_AUDIO_INPUT=tone:440
"$2" "$WORK" 20 || fail "could not build the demonstration store"
printf 'MeetCost=12.00\nHighLight=Y\n' >> "$WORK/NAVO.ini"

e2e_x 1280x1024x24 '
    navo_start
    menu alt+t m
    dlg=$(window "^Navo Meeting Agendas$") || give_up agenda 4
    sleep 0.5
    focus "$dlg"
    xdotool key alt+n
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
    # New Recording is the first item of the File menu.
    choose_list 2
    menu alt+f Return
    meet=$(window "^Meeting Recorder$") || give_up agenda 5
    sleep 0.5
    focus "$meet"
    xdotool type "Budget review"
    xdotool key alt+g
    xdotool key Down
    sleep 0.3
    xdotool key alt+n
    sleep 0.5
    import -window "$meet" "$SHOTS/meeting-agenda.png"
    navo_stop
' || fail "navo did not show the agendas"
echo "PASS: screenshots in $SHOTS"
