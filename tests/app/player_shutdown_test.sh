#!/usr/bin/env bash
# Starts the player (offscreen or under Xvfb) on the demo song, sends SIGTERM and checks that
# it ends with exit code 0 and has written its log beside the binary.
set -u
player=$1
mode=$2
appdir=$(dirname "$player")
demo="$appdir/Resources/demo/tamberlo-demo.mod"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
# A runtime folder of its own: the player does not hand its files to another one running.
export XDG_RUNTIME_DIR="$work/run" && mkdir -m 700 "$XDG_RUNTIME_DIR"

log="$appdir/logfile.html"
before=0
[ -f "$log" ] && before=$(grep -c '^Creating ' "$log")

if [ "$mode" = xvfb ]; then
    xvfb-run -a -s "-screen 0 1024x768x24" "$player" "$demo" &
else
    QT_QPA_PLATFORM=offscreen "$player" "$demo" &
fi
runner=$!

# Wait until the player has written its log header (it is up), at most 20 s.
for _ in $(seq 200); do
    now=0
    [ -f "$log" ] && now=$(grep -c '^Creating ' "$log")
    [ "$now" -gt "$before" ] && break
    sleep 0.1
done
[ "$now" -gt "$before" ] || { echo "player did not start"; kill -KILL $runner; exit 1; }

# Signal the player itself (under xvfb-run it is a child of the wrapper). The whole command
# line is matched so that other programs of the application folder (tamberlo-rip,
# tamberlo-render, started by tests running alongside) are never taken for it.
pid=$(pgrep -n -f "^$player $demo\$" || true)
[ -n "$pid" ] || { echo "player process not found"; exit 1; }
sleep 0.5
kill -TERM "$pid"
wait $runner
code=$?
echo "exit code: $code"
[ "$code" -eq 0 ] || exit 1
grep -q "^Creating $log at [0-9][0-9]:[0-9][0-9]:[0-9][0-9]$" "$log" || { echo "no header in $log"; exit 1; }
echo "ok"
