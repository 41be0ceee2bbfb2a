#!/bin/sh
# Screenshots of the Dictation Recorder while it records, one second apart,
# under Xvfb with the virtual sound device: a tone whose loudness swells and
# fades (so the level meter visibly moves) and a steady 440 Hz tone.
#   recorder_screenshots.sh <navo-recorder-show> <output folder>
set -e
show=$(realpath "$1")
in_xvfb=$(realpath "$(dirname "$0")/../../../tests/e2e/in_xvfb.sh")
out=$2
mkdir -p "$out"
cd "$out"
sox -n -r 8000 -c 1 -b 16 swelling-tone.wav synth 30 sine 440 tremolo 0.35 95 vol 0.9

take() {
    NAVO_AUDIO=virtual NAVO_AUDIO_INPUT="$1" NAVO_AUDIO_PACE=realtime \
        "$in_xvfb" 1024x768x24 sh -c "
            '$show' --record --quit-after 8 > '$2.log' 2>&1 &
            sleep 4; import -window root '$2-1.png'
            sleep 1; import -window root '$2-2.png'
            wait"
}
take "$PWD/swelling-tone.wav" recording
take tone:440 recording-tone
