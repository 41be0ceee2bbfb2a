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
. "$(dirname "$0")/e2e_lib.sh"
SHOTS=$4
e2e_init "$1"
"$2" "$WORK" 30 --delete-every 2 || fail "could not build the demonstration store"
export STORE
STORE=$(ls "$WORK"/Profiles/*/NAVO.vxt)
"$3" list "$STORE" all | sort > "$WORK/before.txt"
size_before=$(stat -c %s "$STORE")

e2e_x 1024x768x24 '
    navo_start
    # Another program holds the store for three seconds (less than the five
    # Navo waits for a busy store).
    (echo "BEGIN EXCLUSIVE;"; sleep 3; echo "COMMIT;") | sqlite3 "$STORE" &
    holder=$!
    sleep 0.5
    menu alt+t c
    window "^Please wait - Compressing your Data Store$" >/dev/null || give_up compress 4
    sleep 0.7
    shot compress
    wait $holder
    window_gone "^Please wait - Compressing your Data Store$"
    navo_stop
' || fail "navo did not show the compression dialog (status $?)"

grep -q "^Compressed Telvarine.vxr" "$WORK/trace.txt" || fail "the dictation family was not compressed"
expect_closed
"$3" check "$STORE" > "$WORK/check.txt" || { cat "$WORK/check.txt" >&2; fail "the store does not check out"; }
"$3" list "$STORE" all | sort > "$WORK/after.txt"
diff "$WORK/before.txt" "$WORK/after.txt" || fail "the records listed differ after compression"
size_after=$(stat -c %s "$STORE")
[ "$size_after" -lt "$size_before" ] || fail "the store did not shrink ($size_before -> $size_after bytes)"
expect_picture "$SHOTS/compress.png" 20
echo "PASS: $size_before -> $size_after bytes, screenshot in $SHOTS/compress.png"
