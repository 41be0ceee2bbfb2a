#!/usr/bin/env bash
# End to end: the real navo opening a store with a few hundred records of each
# type under Xvfb; screenshots of the Dictation list it opens with and of the
# Phone list after a click on the Phone item.
#   lists_e2e.sh <navo> <navo-demo-store> <folder for screenshots>
set -euo pipefail
. "$(dirname "$0")/e2e_lib.sh"
SHOTS=$3
e2e_init "$1"
"$2" "$WORK" 300 || fail "could not build the demonstration store"

e2e_x 1280x1024x24 '
    navo_start
    shot lists-dictation
    choose_list 4
    shot lists-phone
    navo_stop
' || fail "navo did not show its main window"
expect_closed
expect_picture "$SHOTS/lists-dictation.png"
expect_picture "$SHOTS/lists-phone.png"
echo "PASS: screenshots in $SHOTS"
