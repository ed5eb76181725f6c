# Sourced by the shell tests that start the real player, with the player's path as $1. Gives
# them a private work folder ($work, removed at exit) holding TMPDIR (where the player keeps its
# last playlist) and XDG_RUNTIME_DIR (its single-instance socket, so it never hands over to a
# player that happens to run), sets aside settings.ini beside the player and puts it back at
# exit, so each test starts from the defaults, and kills what is left in $pids at exit.
# shellcheck shell=bash
player=$1
appdir=$(dirname "$player")
work=$(mktemp -d)
settings="$appdir/settings.ini"
savedSettings=""
if [ -f "$settings" ]; then
    savedSettings="$work/settings.ini.saved"
    cp "$settings" "$savedSettings"
fi
pids=()
cleanup() {
    for pid in "${pids[@]}"; do { kill -KILL "$pid" && wait "$pid"; } 2>/dev/null; done
    rm -f "$settings"
    [ -n "$savedSettings" ] && cp "$savedSettings" "$settings"
    rm -rf "$work"
}
trap cleanup EXIT
fail() {
    echo "FAIL: $*"
    exit 1
}

export TMPDIR="$work/tmp" XDG_RUNTIME_DIR="$work/run"
mkdir -p "$TMPDIR" && mkdir -m 700 "$XDG_RUNTIME_DIR"
rm -f "$settings"

# The log lines written since the test began.
log="$appdir/logfile.html"
touch "$log"
logStart=$(wc -l <"$log")
newLog() { tail -n +"$((logStart + 1))" "$log"; }
# Waits up to 20 s for the command (its words joined and evaluated) to succeed.
waitFor() {
    for _ in $(seq 200); do
        eval "$*" && return 0
        sleep 0.1
    done
    return 1
}
