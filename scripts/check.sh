#!/usr/bin/env bash
# Installs what is needed, builds Tamberlo twice and runs every test:
#   1. build/       RelWithDebInfo, warnings as errors: all tests (unit, media, widgets, end to end)
#   2. build-asan/  clang with AddressSanitizer and UndefinedBehaviorSanitizer: the unit tests,
#                   then a short bounded run of every fuzz target
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

jobs=$(nproc)

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAMBERLO_WERROR=ON
cmake --build build -j "$jobs"
ctest --test-dir build --output-on-failure -j "$jobs"

CC=clang CXX=clang++ cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DTAMBERLO_WERROR=ON -DTAMBERLO_SANITIZE=ON -DTAMBERLO_BUILD_GUI=OFF \
    -DTAMBERLO_BUILD_BENCH=OFF -DTAMBERLO_BUILD_FUZZ=ON
cmake --build build-asan -j "$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir build-asan --output-on-failure -j "$jobs" -L "unit|fuzz"
