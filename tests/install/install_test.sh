#!/usr/bin/env bash
# Installs the build into a fresh prefix, checks the installed application folder with
# skin_install_check, then starts the installed player offscreen on its demo song and checks
# that it found every picture (Qt names each one it cannot load) and ends cleanly on SIGTERM.
# Then the desktop side: the desktop entry passes desktop-file-validate, the icon is there and
# the launcher in bin/ starts the player (also through a symbolic link). Last, with the
# application folder read-only, as under /usr, settings and log go to the XDG folders.
#   install_test.sh BUILD_DIR APP_DIR_UNDER_PREFIX CHECKER
set -u
build=$1
appsub=$2
checker=$3
work=$(mktemp -d)
trap 'chmod -R u+w "$work"; rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$build" --prefix "$prefix" > "$work/install.log" 2>&1 ||
    { cat "$work/install.log"; echo "install failed"; exit 1; }
appdir="$prefix/$appsub"
for module in ffmpeg sdl; do
    [ -f "$appdir/libtamberlo-$module.so" ] || { echo "module $module not installed"; exit 1; }
done
QT_QPA_PLATFORM=offscreen "$checker" "$appdir" || exit 1

# The player keeps its temporary files in TMPDIR.
mkdir -p "$work/tmp"
# A runtime folder of its own: the player does not hand its files to another one running.
export XDG_RUNTIME_DIR="$work/run" && mkdir -m 700 "$XDG_RUNTIME_DIR"
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

desktop-file-validate "$prefix/share/applications/tamberlo.desktop" || exit 1
for size in 16 256; do
    icon="$prefix/share/icons/hicolor/${size}x${size}/apps/tamberlo.png"
    [ -s "$icon" ] || { echo "no icon $icon"; exit 1; }
done
ln -s "$prefix/bin/tamberlo" "$work/linked-launcher"
for launcher in "$prefix/bin/tamberlo" "$work/linked-launcher"; do
    version=$(cd / && "$launcher" --version) || { echo "$launcher --version failed"; exit 1; }
    [[ "$version" =~ ^tamberlo\ [0-9]+\.[0-9]+\.[0-9]+$ ]] ||
        { echo "$launcher --version printed: $version"; exit 1; }
done

# Root may write into any folder, so as root the player runs as nobody there.
ro="$work/readonly"
mkdir -p "$ro/home" "$ro/tmp" && mkdir -m 700 "$ro/run"
as_user=()
if [ "$(id -u)" -eq 0 ]; then
    chmod 755 "$work"
    chown -R 65534:65534 "$ro"
    as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi
chmod -R a-w "$appdir"
env -u XDG_CONFIG_HOME -u XDG_STATE_HOME HOME="$ro/home" XDG_RUNTIME_DIR="$ro/run" \
    TMPDIR="$ro/tmp" QT_QPA_PLATFORM=offscreen "${as_user[@]}" "$prefix/bin/tamberlo" \
    --output null "$appdir/Resources/demo/tamberlo-demo.mod" 2> "$work/readonly.err" &
player=$!
log="$ro/home/.local/state/tamberlo/logfile.html"
for _ in $(seq 100); do
    grep -q '^Creating ' "$log" 2>/dev/null && break
    sleep 0.1
done
sleep 1
kill -TERM $player
wait $player
code=$?
[ "$code" -eq 0 ] || { cat "$work/readonly.err"; echo "read-only install ended with $code"; exit 1; }
grep -q "not writable: settings in $ro/home/.config/tamberlo/settings.ini" "$log" ||
    { cat "$work/readonly.err"; echo "no log in the state folder"; exit 1; }
[ -f "$ro/home/.config/tamberlo/settings.ini" ] || { echo "settings.ini not saved"; exit 1; }
echo "ok: $appdir"
