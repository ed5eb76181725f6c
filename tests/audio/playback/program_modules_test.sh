#!/usr/bin/env bash
# FFmpeg and SDL are program modules opened on first use: rendering a tracker module to WAV
# loads neither, and a missing or broken FFmpeg module fails its song with a clear log line
# while the next song still plays.
# usage: program_modules_test.sh BIN_DIR MEDIA_DIR
set -euo pipefail
bin=$1
media=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

LD_DEBUG=files "$bin/tamberlo-render" -o "$work/out.wav" "$media/tracker/success_1.it" \
    2>"$work/loaded" || fail "render of a tracker module"
! grep -E "libtamberlo-(ffmpeg|sdl)|libav(format|codec)|libSDL2" "$work/loaded" ||
    fail "rendering a tracker module loaded FFmpeg or SDL"

# The render tool alone in a folder: no module beside it, then one that is no library.
cp "$bin/tamberlo-render" "$work/"
for broken in absent text; do
    [ "$broken" = text ] && echo "not a library" >"$work/libtamberlo-ffmpeg.so"
    rc=0
    "$work/tamberlo-render" --log "$work/log.html" -o "$work/out.wav" "$media/music.ogg" \
        "$media/tracker/success_1.it" 2>"$work/err" || rc=$?
    [ "$rc" = 1 ] || fail "$broken module: exit code $rc, expected one failed song"
    grep -q "(25) The FFmpeg decoder module (libtamberlo-ffmpeg) is missing" "$work/log.html" ||
        fail "$broken module: no log line"
    grep -q "libtamberlo-ffmpeg.so" "$work/err" || fail "$broken module: no reason on stderr"
    [ "$(stat -c %s "$work/out.wav")" -gt 100000 ] || fail "$broken module: the module after it did not play"
done
