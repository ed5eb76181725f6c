#!/usr/bin/env bash
# Installs the build into a fresh prefix, checks the installed application folder with
# skin_install_check, then starts the installed player offscreen on its demo song and checks
# that it found every picture (Qt names each one it cannot load) and ends cleanly on SIGTERM.
#   install_test.sh BUILD_DIR APP_DIR_UNDER_PREFIX CHECKER
set -u
build=$1
appsub=$2
checker=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$build" --prefix "$prefix" > "$work/install.log" 2>&1 ||
    { cat "$work/install.log"; echo "install failed"; exit 1; }
appdir="$prefix/$appsub"
QT_QPA_PLATFORM=offscreen "$checker" "$appdir" || exit 1

# The player reads plugin/ from the current folder and keeps its temporary files in TMPDIR.
mkdir -p "$work/tmp"
cd "$appdir"
TMPDIR="$work/tmp" QT_QPA_PLATFORM=offscreen "$appdir/tamberlo" --output null \
    "$appdir/Resources/demo/tamberlo-demo.mod" 2> "$work/player.err" &
player=$!
log="$appdir/logfile.html"
for _ in $(seq 100); do
    grep -q '^Creating ' "$log" 2>/dev/null && break
    sleep 0.1
done
sleep 1 # let the windows show and load their style sheets
kill -TERM $player
wait $player
code=$?
cat "$work/player.err"
[ "$code" -eq 0 ] || { echo "installed player ended with $code"; exit 1; }
grep -q '^Creating ' "$log" || { echo "installed player wrote no log"; exit 1; }
if grep -q 'Could not create pixmap' "$work/player.err"; then
    echo "the installed player misses pictures"
    exit 1
fi
echo "ok: $appdir"
