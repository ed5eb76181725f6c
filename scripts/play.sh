#!/usr/bin/env bash
# Installs what is needed, builds Tamberlo and starts it on the given files, or on the bundled
# demo song when none is given.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build
if [ $# -eq 0 ]; then
    set -- build/bin/Resources/demo/tamberlo-demo.mod
fi
exec build/bin/tamberlo "$@"
