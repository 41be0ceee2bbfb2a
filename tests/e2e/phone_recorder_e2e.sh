#!/usr/bin/env bash
# End to end: the real navo under Xvfb over the test line with the answer
# machine off. navo-line calls with a number and a name and speaks; Answer
# is pressed in the incoming-call window, the phone recorder records the call
# (screenshot phone-recorder.png while it runs) and files it when the caller
# hangs up. After navo has closed, navo-store finds the recorded call (type
# 3) in the saved store.
#   phone_recorder_e2e.sh <navo> <navo-demo-store> <navo-line> <navo-store> <folder for screenshots>
set -euo pipefail
. "$(dirname "$0")/e2e_lib.sh"
SHOTS=$5
e2e_init "$1" navo
export CALLER=$3 VOICE="$WORK/voice.wav" NAVO_RING_PERIOD_MS=200
export NAVO_AUDIO=virtual NAVO_AUDIO_INPUT=tone:1000:0.25

sox -n -r 8000 -b 16 -c 1 "$VOICE" synth 5 sine 600 vol 0.5 || fail "sox cannot make the caller's voice"
TMPDIR="$WORK/tmp" "$2" "$WORK/navo" 0 >/dev/null || fail "could not build an empty store"
sed -i 's/^CommID=X$/CommID=0/' "$WORK/navo/NAVO.ini"
printf 'RecID=0\nRings=2\nAutoMessage=0\nPhoneCost=0.60\nCurrency=$\nHighLight=Y\n' >> "$WORK/navo/NAVO.ini"

e2e_x 1280x1024x24 '
    navo_start
    # Phone > Start Monitoring Phone Line, the answer machine staying off.
    xdotool windowactivate --sync "$win" 2>/dev/null || focus "$win"
    xdotool key --window "$win" alt+p s
    # The test line listens on its socket once monitoring has started.
    for _ in $(seq 100); do [ -S "$NAVO_TEST_LINE_SOCKET" ] && break; sleep 0.1; done
    [ -S "$NAVO_TEST_LINE_SOCKET" ] || { echo "monitoring did not start"; give_up monitoring 8; }
    "$CALLER" --socket "$NAVO_TEST_LINE_SOCKET" call --rings 0 --name "Ann Smith" --number "01632 960001" \
        --say "$VOICE" --speak-after answer > "$WORK/call.txt" 2>&1 & callpid=$!
    ring=$(window "^Navo : Incoming Call Detected") || { kill $callpid; give_up ring 4; }
    focus "$ring" || true
    xdotool key --window "$ring" alt+a
    window "^Navo Phone Recorder" >/dev/null || { kill $callpid; give_up recorder 5; }
    # Let its clock run a little before the picture.
    sleep 2
    shot phone-recorder
    wait $callpid || { cat "$WORK/call.txt"; give_up call 6; }
    window_gone "^Navo Phone Recorder" || { echo "the recorder stayed open"; give_up recorder 7; }
    navo_stop
' || fail "navo did not record the call (see above)"

expect_closed
store=$(ls "$WORK"/navo/Profiles/*/NAVO.vxt)
list=$("$4" list "$store" phone)
[ "$(echo "$list" | tail -1)" = "1 record" ] || fail "phone records after the call: $list"
echo "$list" | grep -q "	type 3	" || fail "no recorded call: $list"
shown=$("$4" show "$store" 1)
echo "$shown" | grep -q "field 3: Ann Smith$" || fail "the caller's name is not in place 3: $shown"
echo "$shown" | grep -q "field 4: 01632 960001$" || fail "the caller's number is not in place 4: $shown"
echo "$shown"
echo PASS
