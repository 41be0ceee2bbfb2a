#!/usr/bin/env bash
# A screenshot of the File Converter while it converts, under Xvfb.
#   converter_screenshot.sh <navo-converter-show> <png>
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
"$here/../../../tests/e2e/in_xvfb.sh" 1024x768x24 env QT_QPA_PLATFORM=xcb "$1" --shot "$2"
test -s "$2"
