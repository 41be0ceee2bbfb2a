#!/usr/bin/env bash
# Sourced by the scripts that run the real navo. Outside the X session:
#   e2e_init <navo> [folder]  a work folder $WORK (removed at exit) with navo
#                             copied to $WORK/folder (default: $WORK itself),
#                             and navo's environment: the line module built
#                             beside it, with only a test line of this run's own
#   e2e_x <WxHxD> <script>    runs the script under an X server of its own,
#                             with "set -e" and this file sourced
#   fail <why>                says why, with the end of navo's trace, and exits
#   expect_closed             navo stopped on TERM and shut down in order
#   expect_picture <png>      the screenshot is not blank
# Inside the X session:
#   navo_launch               starts navo ($pid)
#   main_window               waits for its main window ($win), choosing no
#                             modem if asked
#   navo_start                both
#   window <title>            waits for a visible window, prints its id
#   window_gone <title>       waits until no window has that title
#   focus <id>, menu <keys>   focuses a window; opens the main window's menu
#   choose_list <n>           clicks the record-type chooser's item n (0-5)
#   shot <name>               screenshot of the screen as $SHOTS/name.png
#   give_up <name> <status>   a picture of the screen as name-failed.png, ends
#   navo_stop                 TERM to navo, waits for it to end
E2E_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

fail() {
    echo "FAIL: $*" >&2
    [ -f "$WORK/trace.txt" ] && tail -20 "$WORK/trace.txt" >&2
    exit 1
}

e2e_init() {
    WORK=$(mktemp -d)
    trap 'rm -rf "$WORK"' EXIT
    mkdir -p "$WORK/tmp" "$WORK/${2:-.}"
    cp "$1" "$WORK/${2:-.}/navo"
    mkdir -p "${SHOTS:=$WORK}"
    export E2E_DIR WORK NAVO="$WORK/${2:-.}/navo" SHOTS
    export NAVO_TAPI_MODULE NAVO_LINE_PROVIDERS="test line" NAVO_TEST_LINE_SOCKET="$WORK/line.sock" \
           NAVO_LINE_CONFIG="$WORK/no-line.conf"
    NAVO_TAPI_MODULE="$(dirname "$1")/libnavotapi.so"
}

e2e_x() {
    "$E2E_DIR/in_xvfb.sh" "$1" bash -c ". \"\$E2E_DIR/e2e_lib.sh\"; set -e; $2"
}

expect_closed() {
    [ ! -e "$WORK/stuck" ] || fail "navo did not stop on TERM"
    grep -q "^Navo closed" "$WORK/trace.txt" || fail "navo did not shut down in order"
}

# A screenshot of a real window has many colours; a blank screen has one.
expect_picture() {
    local colours
    colours=$(identify -format '%k' "$1")
    [ "$colours" -gt "${2:-50}" ] || fail "$1 looks blank ($colours colours)"
}

navo_launch() {
    TMPDIR="$WORK/tmp" NAVO_TRACE=1 "$NAVO" 2> "$WORK/trace.txt" &
    pid=$!
}

navo_start() {
    navo_launch
    main_window
}

# A profile without a modem opens Modem Selection before the main window;
# these runs are about other things, so no modem is chosen.
main_window() {
    for _ in $(seq 300); do
        win=$(xdotool search --onlyvisible --name "^Navo for user :" 2>/dev/null | head -1)
        if [ -n "$win" ]; then
            sleep 1
            return 0
        fi
        local modems
        modems=$(xdotool search --onlyvisible --name "^Navo Modem Selection$" 2>/dev/null | head -1)
        [ -z "$modems" ] || xdotool windowfocus --sync "$modems" key Escape 2>/dev/null || true
        sleep 0.2
    done
    give_up main 3
}

window() {
    local w
    for _ in $(seq 300); do
        w=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -1)
        [ -n "$w" ] && { echo "$w"; return 0; }
        sleep 0.2
    done
    return 1
}

window_gone() {
    for _ in $(seq 600); do
        xdotool search --name "$1" >/dev/null 2>&1 || return 0
        sleep 0.1
    done
    return 1
}

# Focusing a window the server is still mapping can fail; it is tried again.
focus() {
    for _ in $(seq 10); do
        xdotool windowfocus --sync "$1" 2>/dev/null && return 0
        sleep 0.2
    done
    return 1
}

menu() {
    focus "$win"
    xdotool key "$1"
    shift
    for key in "$@"; do
        sleep 0.5
        xdotool key "$key"
    done
}

# 0 is Dictation, 2 Meeting, 4 Phone, 5 Diary.
choose_list() {
    eval "$(xdotool getwindowgeometry --shell "$win")"
    xdotool mousemove $((X + 60)) $((Y + 120 + $1 * 80)) click 1
    sleep 1
}

shot() {
    import -window root "$SHOTS/$1.png"
}

give_up() {
    import -window root "$SHOTS/$1-failed.png" 2>/dev/null || true
    kill "$pid" 2>/dev/null || true
    exit "$2"
}

navo_stop() {
    kill -TERM "$pid"
    for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    if kill -0 "$pid" 2>/dev/null; then
        kill -9 "$pid"
        touch "$WORK/stuck"
    fi
    wait "$pid" 2>/dev/null || true
}
