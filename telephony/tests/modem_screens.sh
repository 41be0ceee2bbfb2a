#!/usr/bin/env bash
# Screenshots of the modem tester (after a call over the test line) and of the
# SIP line's settings window, by hand under Xvfb (not a CTest).
#   modem_screens.sh <build folder> <folder for screenshots>
set -euo pipefail
build=$1
shots=$2
mkdir -p "$shots"
here=$(cd "$(dirname "$0")" && pwd)
"$here/../../tests/e2e/in_xvfb.sh" 1024x768x24 "$build/telephony/tests/modem_screens" "$shots"
