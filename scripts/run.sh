#!/usr/bin/env bash
# Install what is missing, build Navo, install it into a portable folder
# (default ~/Navo: navo, NAVO.ini, Profiles/) and start it.
#   bash scripts/run.sh [--prefix DIR]
# Without a display, Navo runs under Xvfb and a screenshot of what it shows
# after start-up is saved and its path printed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

prefix=${NAVO_HOME:-$HOME/Navo}
while [ $# -gt 0 ]; do
    case "$1" in
        --prefix) prefix=${2:?--prefix needs a folder}; shift 2 ;;
        --prefix=*) prefix=${1#--prefix=}; shift ;;
        -h|--help) sed -n '2,7p' "$0"; exit 0 ;;
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

if [ "$headless" -eq 0 ]; then
    navo_say "Starting Navo"
    exec "$prefix/navo"
fi

navo_say "No display found: running Navo under Xvfb and taking a screenshot instead."
shots="$prefix/screenshots"
mkdir -p "$shots"
display_number=99
while [ -e "/tmp/.X11-unix/X$display_number" ] || [ -e "/tmp/.X$display_number-lock" ]; do
    display_number=$((display_number + 1))
done
Xvfb ":$display_number" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
navo_pid=
cleanup() {
    if [ -n "$navo_pid" ] && kill "$navo_pid" 2>/dev/null; then
        # Navo closes in order on TERM; a dialog still open at start-up can
        # hold it, so it gets ten seconds.
        for _ in $(seq 100); do kill -0 "$navo_pid" 2>/dev/null || break; sleep 0.1; done
        kill -9 "$navo_pid" 2>/dev/null || true
    fi
    kill "$xvfb_pid" 2>/dev/null || true
}
trap cleanup EXIT
for _ in $(seq 50); do
    DISPLAY=":$display_number" xdpyinfo >/dev/null 2>&1 && break
    sleep 0.1
done
DISPLAY=":$display_number" "$prefix/navo" &
navo_pid=$!
sleep 1.5
DISPLAY=":$display_number" import -window root "$shots/navo-splash.png"
sleep 4
kill -0 "$navo_pid" 2>/dev/null || navo_fail "Navo stopped during start-up"
DISPLAY=":$display_number" import -window root "$shots/navo-main-window.png"
navo_say "Splash screen:      $shots/navo-splash.png"
navo_say "After start-up:     $shots/navo-main-window.png"
