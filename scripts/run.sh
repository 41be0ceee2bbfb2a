#!/usr/bin/env bash
# Install what is missing, build Navo, install it into a portable folder
# (default ~/Navo: navo, NAVO.ini, Profiles/), put it in the desktop's
# application menu (for this user) and start it.
#   bash scripts/run.sh [--prefix DIR]
# Without a display, Navo runs under Xvfb; screenshots of the splash, the
# Modem Selection of a first start (the SIP line is chosen) and the main
# window are saved and their paths printed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# The menu entry and icon for this user (XDG), starting the navo of the
# portable folder in that folder.
navo_install_menu_entry() {
    local folder=$1 data=${XDG_DATA_HOME:-$HOME/.local/share}
    local apps="$data/applications" icons="$data/icons/hicolor/64x64/apps"
    if ! mkdir -p "$apps" "$icons" || ! cp "$NAVO_ROOT/res/images/navo.png" "$icons/navo.png"; then
        navo_say "Could not add Navo to the application menu"
        return 0
    fi
    # Exec quotes the path (it may hold blanks); inside the quotes the
    # desktop entry format wants \, ", ` and $ escaped with a backslash,
    # and the file format doubles every backslash again.
    local quoted
    quoted=$(printf '%s' "$folder/navo" | sed -e 's/[\\"`$]/\\&/g' -e 's/\\/\\\\/g' -e 's/%/%%/g')
    cat >"$apps/navo.desktop" <<ENTRY
[Desktop Entry]
Type=Application
Name=Navo
GenericName=Voice Recorder
Comment=Record, file, find and replay dictations, meetings and phone calls
Exec="$quoted"
Path=$folder
Icon=navo
Terminal=false
Categories=AudioVideo;Audio;Recorder;
ENTRY
    if command -v update-desktop-database >/dev/null; then
        update-desktop-database -q "$apps" 2>/dev/null || true
    fi
    navo_say "Navo is in the application menu: $apps/navo.desktop"
}

prefix=${NAVO_HOME:-$HOME/Navo}
while [ $# -gt 0 ]; do
    case "$1" in
        --prefix) prefix=${2:?--prefix needs a folder}; shift 2 ;;
        --prefix=*) prefix=${1#--prefix=}; shift ;;
        -h|--help) sed -n '2,8p' "$0"; exit 0 ;;
        *) navo_fail "Unknown argument: $1" ;;
    esac
done

navo_install "${NAVO_BUILD_PACKAGES[@]}"
headless=0
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    headless=1
    navo_install "${NAVO_HEADLESS_PACKAGES[@]}"
fi
navo_build

mkdir -p "$prefix"
prefix=$(cd "$prefix" && pwd)
cmake --install "$NAVO_BUILD" --prefix "$prefix" >/dev/null || navo_fail "Install into $prefix failed"
navo_say "Navo is installed in $prefix"
navo_install_menu_entry "$prefix"

if [ "$headless" -eq 0 ]; then
    navo_say "Starting Navo"
    exec "$prefix/navo"
fi

navo_say "No display found: running Navo under Xvfb and taking screenshots instead."
shots="$prefix/screenshots"
mkdir -p "$shots"
rm -f "$shots"/navo-*.png
# Xvfb picks a free display itself and names it once it accepts clients.
display_file=$(mktemp)
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3> "$display_file" >/dev/null 2>&1 &
xvfb_pid=$!
navo_pid=
cleanup() {
    if [ -n "$navo_pid" ] && kill "$navo_pid" 2>/dev/null; then
        # Navo saves and closes within a second of TERM.
        for _ in $(seq 30); do kill -0 "$navo_pid" 2>/dev/null || break; sleep 0.1; done
        kill -9 "$navo_pid" 2>/dev/null && navo_say "Navo did not stop on TERM and was killed"
    fi
    kill "$xvfb_pid" 2>/dev/null || true
    rm -f "$display_file"
}
trap cleanup EXIT
for _ in $(seq 100); do
    grep -q '^[0-9]' "$display_file" && break
    sleep 0.1
done
grep -q '^[0-9]' "$display_file" || navo_fail "Xvfb did not start"
export DISPLAY=":$(head -1 "$display_file")"

# The first visible window whose title matches one of the patterns, waited
# for up to $1 seconds; prints "id pattern".
wait_for_window() {
    local seconds=$1 pattern id
    shift
    for _ in $(seq $((seconds * 10))); do
        for pattern in "$@"; do
            id=$(xdotool search --onlyvisible --name "$pattern" 2>/dev/null | head -n 1)
            [ -n "$id" ] && { echo "$id $pattern"; return 0; }
        done
        kill -0 "$navo_pid" 2>/dev/null || return 1
        sleep 0.1
    done
    return 1
}
# A screenshot of the screen, once the window has painted.
shoot() {
    sleep 0.5
    import -window root "$shots/$1"
    navo_say "$2: $shots/$1"
}

splash='^Navo$'
modems='^Navo Modem Selection$'
main='^Navo for user :'
"$prefix/navo" &
navo_pid=$!
wait_for_window 20 "$splash" >/dev/null || navo_fail "Navo showed no splash screen"
shoot navo-splash.png "Splash screen"
shown=$(wait_for_window 30 "$modems" "$main") || navo_fail "Navo stopped during start-up"
if [ "${shown#* }" = "$modems" ]; then
    # A first start asks for the line: take the first, the SIP line, as a
    # user would (Home and Space select it, Enter presses Select).
    shoot navo-modem-selection.png "Modem Selection (first start)"
    xdotool windowfocus --sync "${shown%% *}" key Home space Return
    if ! shown=$(wait_for_window 10 "$main"); then
        navo_say "Modem Selection did not take the SIP line; cancelling it"
        xdotool windowfocus --sync "${shown%% *}" key Escape
        shown=$(wait_for_window 10 "$main") || navo_fail "Navo's main window did not appear"
    fi
fi
shoot navo-main-window.png "Main window"
