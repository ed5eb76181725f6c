#!/usr/bin/env bash
# SIGTERM while the player is still starting up. Its command line names a stream whose server
# accepts the connection and then stays silent, so the window is still loading its first song
# when the signal comes; only then does the server let go. The player must finish starting,
# close the normal way (exit code 0) and save settings.ini and the last playlist.
set -u
. "$(dirname "$0")/../support/player-test-env.sh" "$1"

# One connection: accepted, reported, held until "release" appears, then closed.
python3 - "$work" <<'PY' &
import os, socket, sys, time
work = sys.argv[1]
listener = socket.socket()
listener.bind(("127.0.0.1", 0))
listener.listen(4)
with open(work + "/port.part", "w") as out:
    out.write(str(listener.getsockname()[1]))
os.rename(work + "/port.part", work + "/port")
connection, _ = listener.accept()
open(work + "/connected", "w").close()
while not os.path.exists(work + "/release"):
    time.sleep(0.05)
connection.close()
listener.close()
PY
pids+=($!)
waitFor test -e "$work/port" || fail "the test server did not start"
url="http://127.0.0.1:$(cat "$work/port")/stream"

QT_QPA_PLATFORM=offscreen TAMBERLO_OUTPUT=null "$player" "$url" &
pid=$!
waitFor test -e "$work/connected" || { kill -KILL $pid; fail "the player never asked for the stream"; }
kill -TERM $pid
touch "$work/release"
wait $pid
code=$?
echo "exit code: $code"
[ "$code" -eq 0 ] || fail "exit code $code (143: ended by the signal during start-up)"
[ -f "$settings" ] || fail "settings.ini was not saved"
last="$TMPDIR/Tamberlo_Playlist.m3u"
grep -qx "$url" "$last" 2>/dev/null || fail "the last playlist lacks the stream: $(cat "$last" 2>&1)"
echo "ok"
