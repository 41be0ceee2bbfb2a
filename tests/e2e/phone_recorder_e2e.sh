#!/usr/bin/env bash
# End to end: the real navo under Xvfb over the test line with the answer
# machine off. navo-line calls with a number and a name and speaks; Answer
# is pressed in the incoming-call window, the phone recorder records the call
# (screenshot phone-recorder.png while it runs) and files it when the caller
# hangs up. After navo has closed, navo-store finds the recorded call (type
# 3) in the saved store.
#   phone_recorder_e2e.sh <navo> <navo-demo-store> <navo-line> <navo-store> <folder for screenshots>
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

voice="$work/voice.wav"
sox -n -r 8000 -b 16 -c 1 "$voice" synth 5 sine 600 vol 0.5 || fail "sox cannot make the caller's voice"

TMPDIR="$work/tmp" "$demo" "$work/navo" 0 >/dev/null || fail "could not build an empty store"
cp "$navo" "$work/navo/navo"
ini="$work/navo/NAVO.ini"
sed -i 's/^CommID=X$/CommID=0/' "$ini"
printf 'RecID=0\nRings=2\nAutoMessage=0\nPhoneCost=0.60\nCurrency=$\nHighLight=Y\n' >> "$ini"

export NAVO_TAPI_MODULE
NAVO_TAPI_MODULE="$(dirname "$navo")/libnavotapi.so"
export NAVO_LINE_PROVIDERS="test line"
export NAVO_TEST_LINE_SOCKET="$work/line.sock"
export NAVO_RING_PERIOD_MS=200
export NAVO_LINE_CONFIG="$work/no-line.conf"
export NAVO_AUDIO=virtual NAVO_AUDIO_INPUT=tone:1000:0.25
export SHOTS=$shots CALLER=$caller VOICE=$voice

"$(dirname "$0")/in_xvfb.sh" 1280x1024x24 bash -c '
    set -e
    TMPDIR="$0/tmp" NAVO_TRACE=1 "$0/navo/navo" 2> "$0/trace.txt" & pid=$!
    # Waits for a window named $1 to exist (or, with "gone", to go).
    window() {
        for _ in $(seq 300); do
            w=$(xdotool search --name "$1" 2>/dev/null | head -1 || true)
            if [ "${2:-}" = gone ]; then [ -z "$w" ] && return 0; else [ -n "$w" ] && { echo "$w"; return 0; }; fi
            sleep 0.1
        done
        return 1
    }
    win=$(window "^Navo for user :") || { kill $pid; exit 3; }
    # Phone > Start Monitoring Phone Line, the answer machine staying off.
    xdotool windowactivate --sync "$win" 2>/dev/null || xdotool windowfocus --sync "$win"
    xdotool key --window "$win" alt+p s
    # The test line listens on its socket once monitoring has started.
    for _ in $(seq 100); do [ -S "$NAVO_TEST_LINE_SOCKET" ] && break; sleep 0.1; done
    [ -S "$NAVO_TEST_LINE_SOCKET" ] || { echo "monitoring did not start"; kill $pid; exit 8; }
    "$CALLER" --socket "$NAVO_TEST_LINE_SOCKET" call --rings 0 --name "Ann Smith" --number "01632 960001" \
        --say "$VOICE" --speak-after answer > "$0/call.txt" 2>&1 & callpid=$!
    ring=$(window "^Navo : Incoming Call Detected") || { echo "no incoming-call window"; kill $pid $callpid; exit 4; }
    xdotool windowfocus --sync "$ring" 2>/dev/null || true
    xdotool key --window "$ring" alt+a
    window "^Navo Phone Recorder" >/dev/null || { echo "no phone recorder"; kill $pid $callpid; exit 5; }
    # Let its clock run a little before the picture.
    sleep 2
    import -window root "$SHOTS/phone-recorder.png"
    wait $callpid || { echo "call: exit $?"; cat "$0/call.txt"; kill $pid; exit 6; }
    window "^Navo Phone Recorder" gone || { echo "the recorder stayed open"; kill $pid; exit 7; }
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
' "$work" || { tail -20 "$work/trace.txt" >&2; fail "navo did not record the call (see above)"; }

grep -q "^Navo closed" "$work/trace.txt" || fail "navo did not shut down in order"
store=$(ls "$work"/navo/Profiles/*/NAVO.vxt)
list=$("$storetool" list "$store" phone)
[ "$(echo "$list" | tail -1)" = "1 record" ] || fail "phone records after the call: $list"
echo "$list" | grep -q "	type 3	" || fail "no recorded call: $list"
shown=$("$storetool" show "$store" 1)
echo "$shown" | grep -q "field 3: Ann Smith$" || fail "the caller's name is not in place 3: $shown"
echo "$shown" | grep -q "field 4: 01632 960001$" || fail "the caller's number is not in place 4: $shown"
echo "$shown"
echo PASS
