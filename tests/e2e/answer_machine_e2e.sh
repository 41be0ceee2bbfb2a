#!/usr/bin/env bash
# End to end: the real navo under Xvfb with the answer machine switched on at
# start-up over the test line. navo-line calls with a caller's number and
# name and speaks; the Phone list shown meanwhile gets the new message
# (screenshot answer-machine-phone.png). After navo has closed, navo-store
# finds the message in the saved store. (Several calls in a row are the
# window test's.)
#   answer_machine_e2e.sh <navo> <navo-demo-store> <navo-line> <navo-store> <folder for screenshots>
set -euo pipefail
. "$(dirname "$0")/e2e_lib.sh"
SHOTS=$5
e2e_init "$1" navo
export CALLER=$3 VOICE="$WORK/voice.wav" NAVO_RING_PERIOD_MS=200

# The store's greeting has pauses in it, so the caller does not wait for the
# tone: it speaks as soon as it is answered, 1.5 s of 500 Hz after 6.5 s of
# quiet, which is after the greeting (5.2 s) and the tone (0.6 s).
sox -n -r 8000 -b 16 -c 1 "$VOICE" synth 1.5 sine 500 vol 0.5 pad 6.5 0 || fail "sox cannot make the caller's voice"
TMPDIR="$WORK/tmp" "$2" "$WORK/navo" 0 >/dev/null || fail "could not build an empty store"
# The test line is device 0; two rings, the machine on at start-up.
sed -i 's/^CommID=X$/CommID=0/' "$WORK/navo/NAVO.ini"
printf 'RecID=0\nRings=2\nAutoMessage=1\n' >> "$WORK/navo/NAVO.ini"

e2e_x 1280x1024x24 '
    navo_start
    choose_list 4
    "$CALLER" --socket "$NAVO_TEST_LINE_SOCKET" call --rings 8 --name "Ann Smith" --number "01632 960001" \
        --say "$VOICE" --speak-after answer > "$WORK/call.txt" 2>&1 || { cat "$WORK/call.txt"; give_up call 4; }
    sleep 2
    shot answer-machine-phone
    navo_stop
' || fail "navo did not take the call (see above)"

expect_closed
store=$(ls "$WORK"/navo/Profiles/*/NAVO.vxt)
list=$("$4" list "$store" phone)
[ "$(echo "$list" | tail -1)" = "1 record" ] || fail "phone records after the call: $list"
# The message holds the caller's speech: about 2 s after the greeting.
echo "$list" | grep -q "type 2	01632 960001	.*	00:00:0[89]$" || fail "no whole message from the caller: $list"
echo "$list"
echo PASS
