#!/usr/bin/env bash
# Runs the sound library's four benchmarks and prints their figures.
# usage: bench/audio/mixer/run-benchmarks.sh [BUILD_DIR] [--quick]
#   --quick: 5 s of real-time playback instead of 60 s.
set -euo pipefail
build=${1:-build}
seconds=60
[ "${2:-}" = "--quick" ] && seconds=5
here=$(cd "$(dirname "$0")" && pwd)
media="$build/test-media"
"$here/../../../scripts/make-test-media.sh" "$media" >/dev/null

# Three-minute files made from the 20 s test piece, once per build tree.
long="$build/bench-media"
mkdir -p "$long"
if [ ! -f "$long/.complete" ]; then
    ff() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }
    ff -stream_loop 8 -i "$media/music.wav" -t 180 -c:a pcm_s16le "$long/long.wav"
    lame --quiet -b 192 "$long/long.wav" "$long/long.mp3"
    ff -i "$long/long.wav" -c:a libvorbis -q:a 5 "$long/long.ogg"
    flac --silent -f -o "$long/long.flac" "$long/long.wav"
    touch "$long/.complete"
fi

bin="$build/bench"
echo "== 1. offline render vs ffmpeg decode"
"$bin/bench-render-vs-ffmpeg" "$long/long.mp3" "$long/long.ogg" "$long/long.flac"
echo "== 2. tracker module vs libopenmpt's own render"
"$bin/bench-module-render" "$media/tracker/"*.it "$media/mod/area2-game.mod"
echo "== 3. createSound to first mixed frame"
"$bin/bench-first-frame" "$media/music.mp3"
echo "== 4. real-time null playback under load"
"$bin/bench-real-time-null" --seconds "$seconds" "$long/long.mp3" "$long/long.ogg"
