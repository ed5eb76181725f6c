#!/usr/bin/env bash
# Runs the real player under Xvfb on a 192 kbit/s MP3 with SDL's dummy audio driver (the whole
# SDL output path runs, only the device is a stand-in) and prints, per run and as medians:
#   - % of one core per thread (by thread name) and in total while playing, from
#     /proc/PID/task/*/stat read before and after the measured span, window shown, meter on;
#   - VmRSS and VmHWM at the end of the span;
#   - start-up: ms from exec to the window's first paint and to the first audio callback that
#     carried sound, and the CPU time the process had used by the first paint (the player
#     prints these when TAMBERLO_TRACE_STARTUP holds the exec time);
#   - the wall and CPU time of tamberlo-render on a 6.4 s tracker module.
# Figures only, no pass or fail. The player runs from a scratch application folder, so its
# settings.ini, log and last playlist never touch the build's.
# usage: bench/mainwindow/quiet-player.sh [BUILD_DIR] [--seconds N] [--runs N] [--starts N]
set -euo pipefail
build=build
seconds=30
runs=3
starts=7
while [ $# -gt 0 ]; do
    case "$1" in
    --seconds) seconds=$2; shift 2 ;;
    --runs) runs=$2; shift 2 ;;
    --starts) starts=$2; shift 2 ;;
    *) build=$1; shift ;;
    esac
done
build=$(cd "$build" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
media="$build/test-media"
"$here/../../scripts/make-test-media.sh" "$media" >/dev/null

mp3="$build/bench-media/quiet-192k.mp3"
if [ ! -f "$mp3" ]; then
    mkdir -p "$build/bench-media"
    ffmpeg -nostdin -hide_banner -loglevel error -y -stream_loop 4 -i "$media/music.wav" \
        -t 100 -c:a pcm_s16le "$build/bench-media/quiet.wav"
    lame --quiet -b 192 "$build/bench-media/quiet.wav" "$mp3.part"
    rm "$build/bench-media/quiet.wav"
    mv "$mp3.part" "$mp3"
fi

work=$(mktemp -d)
xvfb=""
player=""
cleanup() {
    [ -n "$player" ] && kill "$player" 2>/dev/null || true
    [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

# The scratch application folder: the program itself (a hard link where possible, so
# /proc/self/exe points here) and links to what it loads from beside itself.
app="$work/app"
mkdir -p "$app"
ln "$build/bin/tamberlo" "$app/tamberlo" 2>/dev/null || cp "$build/bin/tamberlo" "$app/tamberlo"
for part in Resources plugin tamberlo-rip tamberlo-codec-host libtamberlo-ffmpeg.so libtamberlo-sdl.so; do
    ln -s "$build/bin/$part" "$app/$part"
done

# -noreset: by default Xvfb resets itself whenever its last client leaves (about 90 ms of work,
# a keymap compiler run among it), and the next start would wait for that. A desktop's X server
# has other clients and never resets between two starts of the player.
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset 3>"$work/display" 2>/dev/null &
xvfb=$!
for _ in $(seq 100); do
    [ -s "$work/display" ] && break
    sleep 0.05
done
display=":$(head -n1 "$work/display")"

# ticks of utime + stime per thread name, from one reading of /proc/PID/task/*/stat; the GUI
# thread is "(main)", as decode workers carry the program's name too
thread_ticks() {
    cat "/proc/$1"/task/*/stat 2>/dev/null | awk -v pid="$1" '{
        first = index($0, "("); last = 0
        for (i = length($0); i > 0; --i) if (substr($0, i, 1) == ")") { last = i; break }
        name = substr($0, first + 1, last - first - 1); gsub(/ /, "_", name)
        if ($1 == pid) name = "(main)"
        split(substr($0, last + 2), f, " ")
        ticks[name] += f[12] + f[13]
    } END { for (n in ticks) print n, ticks[n] }'
}
process_ticks() {
    awk '{ sub(/.*\) /, ""); split($0, f, " "); print f[12] + f[13] }' "/proc/$1/stat"
}
status_kb() {
    awk -v key="$2:" '$1 == key { print $2 }' "/proc/$1/status"
}
median() {
    sort -n | awk '{ v[NR] = $1 } END { if (NR == 0) print "-";
        else printf "%.2f\n", NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# Starts the player on the MP3; sets $player. The exec time goes in through the environment.
start_player() {
    rm -f "$app/settings.ini" "$app/logfile.html" "$app/Tamberlo_Playlist.m3u"
    TAMBERLO_TRACE_STARTUP=$EPOCHREALTIME DISPLAY=$display QT_QPA_PLATFORM=xcb \
        SDL_AUDIODRIVER=dummy "$app/tamberlo" "$mp3" 2>"$work/stderr" >/dev/null &
    player=$!
}
# Closes the player as the user would (SIGTERM closes the window) and waits for it.
stop_player() {
    kill -TERM "$player" 2>/dev/null || true
    wait "$player" 2>/dev/null || true
    player=""
}
trace_ms() {
    awk -v key="$1" -v field="${2:-3}" '$1 == "startup:" && $2 == key { print $field }' \
        "$work/stderr"
}

clk=$(getconf CLK_TCK)
echo "== quiet player: $runs run(s) of $seconds s, SDL_AUDIODRIVER=dummy, Xvfb $display"
: >"$work/totals"
for run in $(seq "$runs"); do
    start_player
    sleep 3 # past start-up and the first decode
    thread_ticks "$player" | sort >"$work/before"
    total_before=$(process_ticks "$player")
    t0=$EPOCHREALTIME
    sleep "$seconds"
    thread_ticks "$player" | sort >"$work/after"
    total_after=$(process_ticks "$player")
    t1=$EPOCHREALTIME
    rss=$(status_kb "$player" VmRSS)
    hwm=$(status_kb "$player" VmHWM)
    stop_player
    span=$(echo "$t1 - $t0" | bc -l)
    echo "-- run $run ($(printf %.1f "$span") s)"
    join -a 2 -e 0 -o 0,1.2,2.2 "$work/before" "$work/after" |
        awk -v span="$span" -v clk="$clk" '{ pct = ($3 - $2) / clk / span * 100;
            if (pct > 0) printf "   %-18s %6.2f %%\n", $1, pct }' | sort -k2 -nr
    total=$(echo "($total_after - $total_before) / $clk / $span * 100" | bc -l)
    printf "   %-18s %6.2f %%   VmRSS %d MB   VmHWM %d MB\n" total "$total" \
        $((rss / 1024)) $((hwm / 1024))
    echo "$total $rss $hwm" >>"$work/totals"
done

: >"$work/paint"
: >"$work/paint-cpu"
: >"$work/sound"
for _ in $(seq "$starts"); do
    start_player
    sleep 1.5
    stop_player
    trace_ms window-painted >>"$work/paint"
    trace_ms window-painted 5 >>"$work/paint-cpu"
    trace_ms first-sound >>"$work/sound"
done

render="$build/bin/tamberlo-render"
module="$media/tracker/success_1.it"
: >"$work/render-wall"
: >"$work/render-cpu"
for _ in $(seq "$starts"); do
    /usr/bin/time -f "%e %U %S" -o "$work/time" "$render" -o "$work/render.wav" "$module" \
        >/dev/null 2>&1
    read -r wall user sys <"$work/time"
    echo "$wall" >>"$work/render-wall"
    echo "$user + $sys" | bc -l >>"$work/render-cpu"
done

echo "== medians"
echo "   CPU while playing   $(awk '{ print $1 }' "$work/totals" | median) % of a core ($runs runs)"
echo "   VmRSS               $(awk '{ print int($2 / 1024) }' "$work/totals" | median) MB"
echo "   VmHWM               $(awk '{ print int($3 / 1024) }' "$work/totals" | median) MB"
echo "   window painted      $(median <"$work/paint") ms after exec ($starts starts)," \
    "$(median <"$work/paint-cpu") ms CPU by then"
echo "   first sound         $(median <"$work/sound") ms after exec"
echo "   tamberlo-render     $(median <"$work/render-wall") s wall," \
    "$(median <"$work/render-cpu") s CPU ($(basename "$module"), $starts runs)"
