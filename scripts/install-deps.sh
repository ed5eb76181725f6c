#!/usr/bin/env bash
# Installs every Debian 12 package that building, running and testing Tamberlo needs.
# Works as root or through sudo; safe to run any number of times (does nothing when all
# packages are already there).
set -euo pipefail

packages=(
    # build
    cmake ninja-build g++ pkg-config clang-format
    qt6-base-dev qt6-base-dev-tools
    libavformat-dev libavcodec-dev libavutil-dev libswresample-dev
    libopenmpt-dev libmpg123-dev libsoxr-dev libsdl2-dev zlib1g-dev libminizip-dev
    # the libraries of the codec plug-ins
    libsidplayfp-dev libgme-dev libaudiofile-dev libadplug-dev libmodplug-dev
    # tests and benchmarks
    libgtest-dev libgmock-dev libbenchmark-dev
    clang libclang-rt-14-dev
    xvfb xauth icecast2
    # the media-controls test: a private session bus, its monitor, and gdbus to call the player
    dbus-daemon dbus-bin libglib2.0-bin
    # the install test checks the desktop entry
    desktop-file-utils
    # the end-to-end test measures the captured sound
    python3
    # test media: real music and real encoders
    tecnoballz-data pingus-data sound-theme-freedesktop
    lame flac ffmpeg sox gzip zip unzip opus-tools vorbis-tools
    # an outside reader of the LHA archives our YM tests pack
    libarchive-tools
    # fonts for the skin
    fonts-dseg fonts-misaki
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
    echo "install-deps: all ${#packages[@]} packages are installed"
    exit 0
fi

if [ "$(id -u)" -eq 0 ]; then
    as_root=()
else
    as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update
"${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
