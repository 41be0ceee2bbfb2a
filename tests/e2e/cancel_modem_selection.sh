#!/usr/bin/env bash
# Start-up with a profile that has no modem yet ("CommID" missing or "X")
# opens Modem Selection (dialog 113) before the main window. These tests are
# about other things: choose no modem, as a user without one would.
# Run inside the X session, while navo starts:
#   cancel_modem_selection.sh [seconds to wait for the main window]
limit=${1:-60}
for _ in $(seq $((limit * 5))); do
    dialog=$(xdotool search --name "^Navo Modem Selection$" 2>/dev/null | head -1 || true)
    if [ -n "$dialog" ]; then
        xdotool windowfocus --sync "$dialog" key Escape
        exit 0
    fi
    xdotool search --name "^Navo for user :" >/dev/null 2>&1 && exit 0
    sleep 0.2
done
exit 0
