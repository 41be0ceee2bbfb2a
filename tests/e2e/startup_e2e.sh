#!/usr/bin/env bash
# End to end: the real navo in a fresh portable folder under Xvfb. It must show
# the splash, then the main window titled for the log-on user, create NAVO.ini
# with the new profile's defaults, and close cleanly on request.
#   startup_e2e.sh <path to navo> <folder for screenshots> <path to navo-store>
set -euo pipefail
. "$(dirname "$0")/e2e_lib.sh"
SHOTS=$2
e2e_init "$1"
user=$(id -un)

e2e_x 1280x1024x24 '
    navo_launch
    sleep 1.2
    shot e2e-splash
    main_window
    shot e2e-main
    navo_stop
' || fail "no window titled 'Navo for user :' appeared"
expect_closed
[ -f "$WORK/NAVO.ini" ] || fail "NAVO.ini was not created"
# (Its keys and their order are StartupTest's.)
grep -q "^\[$user\]" "$WORK/NAVO.ini" || fail "no [$user] section in NAVO.ini"
[ -d "$WORK/Profiles/$user" ] || fail "Profiles/$user was not created"
# The first start built an empty data store, saved it at exit, and it is sound.
store="$WORK/Profiles/$user/NAVO.vxt"
[ -f "$store" ] || fail "no data store at $store"
"$3" check "$store" || fail "navo-store check failed on the new store"
! ls "$WORK/tmp" | grep -q Telvarine || fail "the workspace was left behind: $(ls "$WORK/tmp")"
expect_picture "$SHOTS/e2e-splash.png"
expect_picture "$SHOTS/e2e-main.png"
# The two pictures differ: the splash gave way to the main window.
diff=$(compare -metric AE "$SHOTS/e2e-splash.png" "$SHOTS/e2e-main.png" null: 2>&1 || true)
[ "${diff%% *}" != 0 ] || fail "the splash never gave way to the main window"
echo "PASS: screenshots in $SHOTS"
