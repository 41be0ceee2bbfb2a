#!/usr/bin/env bash
# End to end: the real navo under Xvfb with the answer machine switched on at
# start-up over the test line. navo-line calls with a caller's number and
# name and speaks; the Phone list shown meanwhile gets the new message
# (screenshot answer-machine-phone.png). After navo has closed, navo-store
# finds the message in the saved store. (Several calls in a row are the
# window test's.)
#   answer_machine_e2e.sh <navo> <navo-demo-store> <navo-line> <navo-store> <folder for screenshots>
set -euo pipefail
navo=$1
demo=$2
caller=$3
storetool=$4
shots=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$shots" "$work/tmp"
fail() { echo "FAIL: $*" >&2; exit 1; }

# The store's greeting has pauses in it, so the caller does not wait for the
# tone: it speaks as soon as it is answered, 1.5 s of 500 Hz after 6.5 s of
# quiet, which is after the greeting (5.2 s) and the tone (0.6 s).
voice="$work/voice.wav"
sox -n -r 8000 -b 16 -c 1 "$voice" synth 1.5 sine 500 vol 0.5 pad 6.5 0 || fail "sox cannot make the caller's voice"

TMPDIR="$work/tmp" "$demo" "$work/navo" 0 >/dev/null || fail "could not build an empty store"
cp "$navo" "$work/navo/navo"
ini="$work/navo/NAVO.ini"
# The test line is device 0; two rings, the machine on at start-up.
sed -i 's/^CommID=X$/CommID=0/' "$ini"
printf 'RecID=0\nRings=2\nAutoMessage=1\n' >> "$ini"

export NAVO_TAPI_MODULE
NAVO_TAPI_MODULE="$(dirname "$navo")/libnavotapi.so"
export NAVO_LINE_PROVIDERS="test line"
export NAVO_TEST_LINE_SOCKET="$work/line.sock"
export NAVO_RING_PERIOD_MS=200
export NAVO_LINE_CONFIG="$work/no-line.conf"
export SHOTS=$shots CALLER=$caller VOICE=$voice

"$(dirname "$0")/in_xvfb.sh" 1280x1024x24 bash -c '
    set -e
    TMPDIR="$0/tmp" NAVO_TRACE=1 "$0/navo/navo" 2> "$0/trace.txt" & pid=$!
    win=
    for _ in $(seq 300); do
        win=$(xdotool search --name "^Navo for user :" 2>/dev/null | head -1) && [ -n "$win" ] && break
        sleep 0.2
    done
    [ -n "$win" ] || { kill $pid; exit 3; }
    sleep 1
    # The Phone item is the fifth of the record-type chooser on the left.
    eval "$(xdotool getwindowgeometry --shell "$win")"
    xdotool mousemove $((X + 60)) $((Y + 120 + 4 * 80)) click 1
    sleep 0.5
    "$CALLER" --socket "$NAVO_TEST_LINE_SOCKET" call --rings 8 --name "Ann Smith" --number "01632 960001" \
        --say "$VOICE" --speak-after answer > "$0/call.txt" 2>&1 || { echo "call: exit $?"; cat "$0/call.txt"; kill $pid; exit 4; }
    sleep 2
    import -window root "$SHOTS/answer-machine-phone.png"
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
' "$work" || fail "navo did not take the call (see above)"

grep -q "^Navo closed" "$work/trace.txt" || fail "navo did not shut down in order"
store=$(ls "$work"/navo/Profiles/*/NAVO.vxt)
list=$("$storetool" list "$store" phone)
[ "$(echo "$list" | tail -1)" = "1 record" ] || fail "phone records after the call: $list"
# The message holds the caller's speech: about 2 s after the greeting.
echo "$list" | grep -q "type 2	01632 960001	.*	00:00:0[89]$" || fail "no whole message from the caller: $list"
echo "$list"
echo PASS
