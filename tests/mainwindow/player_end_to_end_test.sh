#!/usr/bin/env bash
# The real player under Xvfb: started with a folder of three one-second tones (quiet, middle,
# loud) and the wav output, it must play them in order (checked by the levels in the captured
# WAV) and log their loading; after SIGTERM, a start without arguments must bring back the same
# playlist and current entry, which it saves again at its own SIGTERM. The temporary folder is
# private; settings.ini beside the player is set aside and put back.
set -u
. "$(dirname "$0")/../support/player-test-env.sh" "$1"

mkdir -p "$work/songs"
sox -n -r 44100 -c 2 -b 16 "$work/songs/a.wav" synth 1 sine 440 vol 0.2
sox -n -r 44100 -c 2 -b 16 "$work/songs/b.wav" synth 1 sine 550 vol 0.5
sox -n -r 44100 -c 2 -b 16 "$work/songs/c.wav" synth 1 sine 660 vol 0.8

# Runs the player with the given arguments under Xvfb until `ready` (a command) succeeds, then
# SIGTERM; expects exit code 0.
runUntil() {
    local ready=$1 pattern=$2
    shift 2
    xvfb-run -a -s "-screen 0 1024x768x24" "$player" "$@" &
    local runner=$!
    local up=0
    for _ in $(seq 300); do
        if eval "$ready"; then up=1; break; fi
        sleep 0.1
    done
    local pid
    pid=$(pgrep -n -f "^$player$pattern" || true)
    [ -n "$pid" ] || { kill -TERM $runner; fail "player process not found"; }
    [ "$up" = 1 ] || { kill -TERM "$pid"; wait $runner; fail "player did not reach: $ready"; }
    kill -TERM "$pid"
    wait $runner
    local code=$?
    [ "$code" -eq 0 ] || fail "exit code $code"
}

# 1. Play the folder into a WAV; stop a little after the last song has started and ended.
export TAMBERLO_OUTPUT=null # the command line's --output wins
out="$work/out.wav"
runUntil "newLog | grep -q 'Loading song: $work/songs/c.wav' && sleep 1.5" \
    " --output wav:$out $work/songs\$" --output "wav:$out" "$work/songs"
loads=$(newLog | grep -o "Loading song: $work/songs/[abc].wav" | sed 's|.*/||' | tr '\n' ' ')
[ "$loads" = "a.wav b.wav c.wav " ] || fail "load lines in the log: '$loads'"
python3 - "$out" <<'PY' || fail "the captured sound does not hold the songs in order"
import array, sys, wave
with wave.open(sys.argv[1]) as w:
    rate, channels = w.getframerate(), w.getnchannels()
    samples = array.array("h", w.readframes(w.getnframes()))
window = rate // 20 * channels  # 50 ms
levels = []
for start in range(0, len(samples) - window, window):
    part = samples[start:start + window]
    levels.append((sum(s * s for s in part) / len(part)) ** 0.5)
# Plateaus: runs of windows within 5 % of each other, louder than near-silence.
runs = []
for level in levels:
    if level < 300:
        continue
    if runs and abs(level - runs[-1][0]) < 0.05 * runs[-1][0]:
        runs[-1][1] += 1
    else:
        runs.append([level, 1])
songs = [level for level, count in runs if count >= 14]  # at least 0.7 s
print("plateaus (RMS):", [round(s) for s in songs])
ok = len(songs) == 3 and abs(songs[1] / songs[0] - 2.5) < 0.2 and abs(songs[2] / songs[0] - 4.0) < 0.3
sys.exit(0 if ok else 1)
PY
grep -q '^CurrentSound=2$' "$settings" || fail "settings.ini lacks CurrentSound=2"
last="$TMPDIR/Tamberlo_Playlist.m3u"
[ "$(grep -v '^#' "$last" | sed 's|.*/||' | tr '\n' ' ')" = "a.wav b.wav c.wav " ] ||
    fail "last playlist: $(cat "$last")"

# 2. Start without arguments: the list and the current entry come back and are saved again.
rm -f "$last.before" && cp "$last" "$last.before"
before=$(grep -c '^Creating ' "$log")
runUntil "[ \$(grep -c '^Creating ' '$log') -gt $before ] && sleep 1" "\$"
cmp -s "$last" "$last.before" || fail "the restored playlist differs: $(cat "$last")"
grep -q '^CurrentSound=2$' "$settings" || fail "the current entry was not kept: $(grep CurrentSound "$settings")"
echo "ok"
