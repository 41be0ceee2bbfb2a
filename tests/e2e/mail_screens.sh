#!/usr/bin/env bash
# Screenshots, by hand (not a CTest: it waits on real time): the Send email
# Options (dialog 152) and the Compressor (dialog 143) while it converts and
# compresses long tone recordings, each on its own under Xvfb.
#   mail_screens.sh <navo-mail-show> <folder for screenshots>
set -euo pipefail
show=$(realpath "$1")
shots=$(realpath -m "$2")
mkdir -p "$shots"
in_xvfb=$(cd "$(dirname "$0")" && pwd)/in_xvfb.sh

take() {
    "$in_xvfb" 800x600x24 bash -c "
        '$show' $1 --quit-after 60 & pid=\$!
        for _ in \$(seq 300); do
            xdotool search --name '$2' >/dev/null 2>&1 && break
            sleep 0.2
        done
        sleep $3
        import -window root '$shots/$4'
        kill \$pid"
}
take --options 'Navo - Send email Options' 1 mail-options-152.png
take --compressor "Navo Compressor" 1 mail-compressor-143.png
echo "screenshots in $shots"
