# Shared by run.sh and test.sh: install what is missing, then build.
# Sourced, not run.

NAVO_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
NAVO_BUILD=${NAVO_BUILD:-$NAVO_ROOT/build}

# Debian packages needed to build Navo and run it (or its tests) headless.
NAVO_BUILD_PACKAGES=(cmake g++ make pkg-config qt6-base-dev qt6-base-dev-tools libgl-dev libsqlite3-dev libzip-dev qt6-multimedia-dev
                     libgtest-dev libx11-dev fonts-dejavu-core liblinphone-dev libsoundtouch-dev libsoxr-dev libpulse-dev libopusenc-dev libopusfile-dev
                     libmp3lame-dev libvorbis-dev libavcodec-dev libavformat-dev libavutil-dev libswresample-dev libsndfile1-dev)
NAVO_HEADLESS_PACKAGES=(xvfb xauth imagemagick xdotool x11-utils linphone-cli baresip iproute2 pulseaudio pulseaudio-utils sox sqlite3 poppler-utils lame vorbis-tools ffmpeg)

# Sending recordings by e-mail hands them to the desktop's composer through xdg-email.
NAVO_BUILD_PACKAGES+=(xdg-utils)

# Record files deflate their members with libdeflate (whole-buffer, much faster than zlib).
NAVO_BUILD_PACKAGES+=(libdeflate-dev)

navo_say() { printf '\033[1m[navo]\033[0m %s\n' "$*"; }
navo_fail() { printf '\033[1;31m[navo]\033[0m %s\n' "$*" >&2; exit 1; }

navo_install() {
    local missing=() pkg
    for pkg in "$@"; do
        dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local sudo=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || navo_fail "Missing packages (${missing[*]}) and no sudo: install them as root."
        sudo=(sudo)
    fi
    navo_say "Installing ${missing[*]}"
    "${sudo[@]}" apt-get update -q || navo_fail "apt-get update failed"
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}" \
        || navo_fail "apt-get install failed"
}

navo_build() {
    navo_say "Building in $NAVO_BUILD"
    cmake -S "$NAVO_ROOT" -B "$NAVO_BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null \
        || navo_fail "CMake configuration failed"
    cmake --build "$NAVO_BUILD" -j "$(nproc)" || navo_fail "Build failed"
}
