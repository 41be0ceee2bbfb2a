#!/usr/bin/env bash
# End to end: the real navo in a fresh portable folder under Xvfb. It must show
# the splash, then the main window titled for the log-on user, create NAVO.ini
# with the new profile's defaults, and close cleanly on request.
#   startup_e2e.sh <path to navo> <folder for screenshots> <path to navo-store>
set -euo pipefail
navo=$1
shots=$2
navo_store=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$shots"
cp "$navo" "$work/navo"
user=$(id -un)

fail() {
    echo "FAIL: $*" >&2
    [ -f "$work/trace.txt" ] && tail -20 "$work/trace.txt" >&2
    exit 1
}

export DISPLAY_SHOTS=$shots
# The line module built beside navo, with only a test line of this run's own.
export E2E_DIR NAVO_TAPI_MODULE NAVO_LINE_PROVIDERS="test line" NAVO_TEST_LINE_SOCKET="$work/line.sock" NAVO_LINE_CONFIG="$work/no-line.conf"
E2E_DIR=$(cd "$(dirname "$0")" && pwd)
NAVO_TAPI_MODULE="$(dirname "$navo")/libnavotapi.so"
"$E2E_DIR/in_xvfb.sh" 1280x1024x24 bash -c '
    set -e
    mkdir -p "$0/tmp"
    TMPDIR="$0/tmp" NAVO_TRACE=1 "$0/navo" 2> "$0/trace.txt" & pid=$!
    sleep 1.2
    import -window root "$DISPLAY_SHOTS/e2e-splash.png"
    "$E2E_DIR/cancel_modem_selection.sh"
    for _ in $(seq 300); do
        xdotool search --name "^Navo for user :" >/dev/null 2>&1 && break
        sleep 0.2
    done
    xdotool search --name "^Navo for user :" > "$0/windows.txt" || true
    sleep 0.5
    import -window root "$DISPLAY_SHOTS/e2e-main.png"
    kill -TERM $pid
    for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
    kill -0 $pid 2>/dev/null && { kill -9 $pid; echo "navo did not stop on TERM" > "$0/stuck"; }
    wait $pid 2>/dev/null || true
' "$work"

[ -s "$work/windows.txt" ] || fail "no window titled 'Navo for user :' appeared"
[ ! -e "$work/stuck" ] || fail "$(cat "$work/stuck")"
grep -q "^Navo closed" "$work/trace.txt" || fail "navo did not shut down in order on TERM: $(cat "$work/trace.txt")"
[ -f "$work/NAVO.ini" ] || fail "NAVO.ini was not created"
# (Its keys and their order are StartupTest's.)
grep -q "^\[$user\]" "$work/NAVO.ini" || fail "no [$user] section in NAVO.ini"
[ -d "$work/Profiles/$user" ] || fail "Profiles/$user was not created"
# The first start built an empty data store, saved it at exit, and it is sound.
store="$work/Profiles/$user/NAVO.vxt"
[ -f "$store" ] || fail "no data store at $store"
"$navo_store" check "$store" || fail "navo-store check failed on the new store"
! ls "$work/tmp" | grep -q Telvarine || fail "the workspace was left behind: $(ls "$work/tmp")"


# A screenshot of a real window has many colours; a blank screen has one.
for shot in e2e-splash e2e-main; do
    colours=$(identify -format '%k' "$shots/$shot.png")
    [ "$colours" -gt 50 ] || fail "$shot.png looks blank ($colours colours)"
done
# The two pictures differ: the splash gave way to the main window.
diff=$(compare -metric AE "$shots/e2e-splash.png" "$shots/e2e-main.png" null: 2>&1 || true)
[ "${diff%% *}" != 0 ] || fail "the splash never gave way to the main window"
echo "PASS: screenshots in $shots"
