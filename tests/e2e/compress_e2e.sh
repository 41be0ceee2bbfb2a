#!/usr/bin/env bash
# End to end: the real navo compressing a store in which every second record
# was deleted. Another program holds the store for a few seconds meanwhile, so
# that the dialog stays up long enough for a screenshot of it; afterwards the
# store is checked: every record still there, the dead ones gone, smaller.
#   compress_e2e.sh <navo> <navo-demo-store> <navo-store> <folder for screenshots>
# Run by hand for the screenshot: it drives the menu by key presses with
# pauses, which a loaded machine can outrun, so it is not part of CTest. The
# same path runs offscreen in MainWindowListTest.
set -euo pipefail
navo=$1
demo=$2
tool=$3
shots=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$shots" "$work/tmp"
cp "$navo" "$work/navo"
fail() {
    echo "FAIL: $*" >&2
    [ -f "$work/trace.txt" ] && tail -20 "$work/trace.txt" >&2
    exit 1
}

"$demo" "$work" 30 --delete-every 2 || fail "could not build the demonstration store"
store=$(ls "$work"/Profiles/*/NAVO.vxt)
"$tool" list "$store" all | sort > "$work/before.txt"
size_before=$(stat -c %s "$store")

export SHOTS=$shots STORE=$store
export E2E_DIR NAVO_TAPI_MODULE NAVO_LINE_PROVIDERS="test line" NAVO_TEST_LINE_SOCKET="$work/line.sock" NAVO_LINE_CONFIG="$work/no-line.conf"
E2E_DIR=$(cd "$(dirname "$0")" && pwd)
NAVO_TAPI_MODULE="$(dirname "$navo")/libnavotapi.so"
"$E2E_DIR/in_xvfb.sh" 1024x768x24 bash -c '
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
    # Another program holds the store for three seconds (less than the five
    # Navo waits for a busy store).
    (echo "BEGIN EXCLUSIVE;"; sleep 3; echo "COMMIT;") | sqlite3 "$STORE" &
    holder=$!
    sleep 0.5
    # Focusing a window the server is still mapping can fail; try again.
    for _ in $(seq 10); do
        xdotool windowfocus --sync "$win" 2>/dev/null && break
        sleep 0.2
    done
    xdotool key alt+t
    sleep 0.5
    xdotool key c
    dialog=
    for _ in $(seq 50); do
        dialog=$(xdotool search --name "^Please wait - Compressing your Data Store$" 2>/dev/null | head -1) && [ -n "$dialog" ] && break
        sleep 0.1
    done
    [ -n "$dialog" ] || { kill $pid; exit 4; }
    sleep 0.7
    import -window root "$SHOTS/compress.png"
    wait $holder
    for _ in $(seq 600); do
        xdotool search --name "^Please wait - Compressing your Data Store$" >/dev/null 2>&1 || break
        sleep 0.1
    done
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    wait $pid 2>/dev/null || true
' "$work" || fail "navo did not show the compression dialog (status $?)"

grep -q "^Compressed Telvarine.vxr" "$work/trace.txt" || fail "the dictation family was not compressed"
grep -q "^Navo closed" "$work/trace.txt" || fail "navo did not shut down in order"
"$tool" check "$store" > "$work/check.txt" || { cat "$work/check.txt" >&2; fail "the store does not check out"; }
"$tool" list "$store" all | sort > "$work/after.txt"
diff "$work/before.txt" "$work/after.txt" || fail "the records listed differ after compression"
size_after=$(stat -c %s "$store")
[ "$size_after" -lt "$size_before" ] || fail "the store did not shrink ($size_before -> $size_after bytes)"
colours=$(identify -format '%k' "$shots/compress.png")
[ "$colours" -gt 20 ] || fail "compress.png looks blank"
echo "PASS: $size_before -> $size_after bytes, screenshot in $shots/compress.png"
