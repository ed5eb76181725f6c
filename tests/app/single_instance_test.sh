#!/usr/bin/env bash
# The real player's command line and its one-player-per-session rule, offscreen on the null
# output with a private runtime folder (where the socket lives) and temporary folder:
#   - --help, --version and mistakes: output and exit code;
#   - a second start hands its file (relative to ITS current folder) to the first, which plays
#     it, and ends with 0; with -e the file is only appended to the list;
#   - a socket left by a killed player is taken over by the next start;
#   - --new-instance gives a player of its own;
#   - of three starts at the same moment exactly one stays.
#   single_instance_test.sh PLAYER
set -u
. "$(dirname "$0")/../support/player-test-env.sh" "$1"

export QT_QPA_PLATFORM=offscreen TAMBERLO_OUTPUT=null
mkdir -p "$work/songs"
socket="$XDG_RUNTIME_DIR/tamberlo-$(id -u).socket"
for name in first second third; do
    cp "$appdir/Resources/demo/tamberlo-demo.mod" "$work/songs/$name.mod"
done

# Arguments | exit code | a line of the output (stdout and stderr together) matching it.
while IFS='|' read -r arguments code pattern; do
    # shellcheck disable=SC2086 # the arguments are split on purpose
    output=$("$player" $arguments 2>&1)
    got=$?
    [ "$got" -eq "$code" ] || fail "'$arguments' ended with $got, not $code: $output"
    grep -q -- "$pattern" <<< "$output" || fail "'$arguments' printed: $output"
done <<'EOF'
--help|0|^Usage: tamberlo \[options\] \[paths...\]
-h|0|--new-instance
--version|0|^tamberlo [0-9]*\.[0-9]*\.[0-9]*$
--no-such-option song.mod|2|Unknown option 'no-such-option'
-x|2|Unknown option 'x'
--output|2|Missing value after '--output'
EOF

# Starts a player in the background (its pid in $started).
start() {
    "$player" "$@" 2>> "$work/player.err" &
    started=$!
    pids+=("$started")
}
loaded() { newLog | grep -q "Loading song: $work/songs/$1"; }
alive() { kill -0 "$1" 2>/dev/null; }
# SIGTERM, and the exit code must be 0.
stopPlayer() {
    kill -TERM "$1"
    wait "$1"
    local code=$?
    [ "$code" -eq 0 ] || fail "player $1 ended with $code: $(cat "$work/player.err")"
}
# A start that must hand off: it ends by itself with 0.
handOff() {
    (cd "$work/songs" && timeout 40 "$player" "$@") || fail "'$*' did not hand off ($?)"
}

start
first=$started
waitFor test -S "$socket" || fail "the first player did not listen on $socket"
handOff first.mod
waitFor loaded first.mod || fail "the first player did not play the handed file"
handOff -e second.mod
handOff # no paths: only brings the window forward
stopPlayer "$first"
loaded second.mod && fail "the enqueued file was played"
grep -qx "$work/songs/second.mod" "$TMPDIR/Tamberlo_Playlist.m3u" ||
    fail "the enqueued file is not in the list: $(cat "$TMPDIR/Tamberlo_Playlist.m3u")"

# A player killed outright leaves its socket; the next start takes it over.
start
waitFor test -S "$socket" || fail "no socket"
kill -KILL "$started" && wait "$started" 2>/dev/null
test -S "$socket" || fail "SIGKILL removed the socket; nothing stale to recover from"
start
recovered=$started
sleep 2
alive "$recovered" || fail "the start after a killed player did not stay"
handOff third.mod
waitFor loaded third.mod || fail "the recovered player did not take the handed file"

# --new-instance runs beside it.
start --new-instance
separate=$started
sleep 2
alive "$separate" || fail "--new-instance did not give a player of its own"
stopPlayer "$separate"
stopPlayer "$recovered"

# Three starts at the same moment: one player; the others hand off and end with 0.
start; a=$started
start; b=$started
start; c=$started
countAlive() { local n=0 pid; for pid in $a $b $c; do alive "$pid" && n=$((n + 1)); done; echo $n; }
waitFor '[ "$(countAlive)" -le 1 ]'
sleep 1
[ "$(countAlive)" -eq 1 ] || fail "$(countAlive) of 3 simultaneous starts became players"
for pid in $a $b $c; do
    if alive "$pid"; then
        stopPlayer "$pid"
    else
        wait "$pid" || fail "a simultaneous start ended with $?"
    fi
done
echo "ok"
