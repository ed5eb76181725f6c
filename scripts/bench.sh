#!/usr/bin/env bash
# Builds Tamberlo and runs every benchmark, printing their figures. Run it on an idle machine:
# the figures are timings. usage: scripts/bench.sh [--quick]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build
scripts/make-test-media.sh build/test-media >/dev/null

echo "#### sound library"
bench/audio/mixer/run-benchmarks.sh build "${1:-}"
build/bin/bench_decoders build/test-media
echo "#### sound engine"
(cd build && bench/bench-engine-load-song && bench/bench-engine-song-change-gap)
echo "#### playlist"
build/bin/playlist_bench
echo "#### module ripper (writes -1.mod into a scratch folder)"
scratch=$(mktemp -d)
(cd "$scratch" && "$OLDPWD/build/bin/bench_ripper_scan")
rm -rf "$scratch"
echo "#### the player playing, under Xvfb: CPU per thread, memory, start-up"
bench/mainwindow/quiet-player.sh build
for extra in build/bench/bench-window-*; do
    [ -x "$extra" ] && { echo "#### $(basename "$extra")"; "$extra"; }
done
