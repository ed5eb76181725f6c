#!/usr/bin/env bash
# The real player (offscreen, null output) on a private session bus, driven through its MPRIS2
# interfaces with gdbus. Each row of the table calls a method or sets a property, then reads a
# property back, whose reply must match a pattern; a Pause must be announced by PropertiesChanged
# and a seek by Seeked, and Quit must end the player with exit code 0. Then, without a session
# bus, the player must still start, log one line saying so, and end normally.
set -u
player=$1
media=$2
appdir=$(dirname "$player")
work=$(mktemp -d)
settings="$appdir/settings.ini"
saved=""
if [ -f "$settings" ]; then saved="$work/settings.ini.saved"; cp "$settings" "$saved"; fi
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
    rm -f "$settings"
    [ -n "$saved" ] && cp "$saved" "$settings"
    rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "FAIL: $*"; exit 1; }

export QT_QPA_PLATFORM=offscreen TMPDIR="$work/tmp" XDG_RUNTIME_DIR="$work/run"
mkdir -p "$TMPDIR" && mkdir -m 700 "$XDG_RUNTIME_DIR"
rm -f "$settings"
log="$appdir/logfile.html"
touch "$log"
logStart=$(wc -l < "$log")
newLog() { tail -n +"$((logStart + 1))" "$log"; }
# Waits up to 20 s for the command to succeed.
waitFor() { for _ in $(seq 200); do eval "$1" && return 0; sleep 0.1; done; return 1; }
# Waits up to 10 s for process $1 to end and checks its exit code is 0.
endsWithZero() {
    for _ in $(seq 100); do kill -0 "$1" 2>/dev/null || break; sleep 0.1; done
    kill -0 "$1" 2>/dev/null && fail "the player did not end"
    wait "$1" || fail "the player ended with exit code $?"
}

dbus-daemon --session --nofork --print-address=3 3>"$work/address" 2>/dev/null &
pids+=($!)
waitFor "[ -s '$work/address' ]" || fail "no dbus-daemon"
DBUS_SESSION_BUS_ADDRESS=$(head -n 1 "$work/address")
export DBUS_SESSION_BUS_ADDRESS
name=org.mpris.MediaPlayer2.tamberlo
dbus-monitor --address "$DBUS_SESSION_BUS_ADDRESS" "type='signal',sender='$name'" \
    >"$work/signals" 2>&1 &
pids+=($!)

"$player" --output null "$media/music.flac" "$media/music.ogg" "$media/music.mp3" \
    >"$work/player.out" 2>&1 &
playerPid=$!
pids+=($playerPid)
waitFor "gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.NameHasOwner $name 2>/dev/null | grep -q true" ||
    fail "the player did not take $name"

call() { gdbus call --session --dest "$name" --object-path /org/mpris/MediaPlayer2 "$@"; }
iface=org.mpris.MediaPlayer2.Player
track=/org/mpris/MediaPlayer2/tamberlo/track

# action: "-" (none), a Player method with its arguments, or "set PROPERTY VALUE"
# read:   INTERFACE.PROPERTY, INTERFACE short for org.mpris.MediaPlayer2[.Player]
# reply:  extended regular expression for what gdbus prints
table=(
    "-                                 | MediaPlayer2.Identity         | ^\(<'Tamberlo'>,\)$"
    "-                                 | Player.PlaybackStatus         | 'Playing'"
    "-                                 | Player.Metadata               | 'xesam:title': <'music.flac'>"
    "-                                 | Player.Metadata               | 'mpris:length': <int64 20[0-9]{6}>"
    "Pause                             | Player.PlaybackStatus         | 'Paused'"
    "SetPosition $track/0 5000000      | Player.Position               | <int64 5000000>"
    "SetPosition $track/1 15000000     | Player.Position               | <int64 5000000>"
    "Seek 3000000                      | Player.Position               | <int64 8000000>"
    "Seek -60000000                    | Player.Position               | <int64 0>"
    "Play                              | Player.PlaybackStatus         | 'Playing'"
    "Next                              | Player.Metadata               | '$track/1'>, 'xesam:title': <'music.ogg'>"
    "Previous                          | Player.Metadata               | '$track/0'>, 'xesam:title': <'music.flac'>"
    "set Volume 0.37                   | Player.Volume                 | <0.37>"
    "OpenUri file://$media/music.wav   | Player.Metadata               | '$track/3'>, 'xesam:title': <'music.wav'>"
    "-                                 | Player.PlaybackStatus         | 'Playing'"
    "Stop                              | Player.PlaybackStatus         | 'Stopped'"
    "Play                              | Player.PlaybackStatus         | 'Playing'"
)
failed=0
for row in "${table[@]}"; do
    IFS='|' read -r action property pattern <<<"$row"
    read -r -a words <<<"$action"
    pattern=$(sed 's/^ *//; s/ *$//' <<<"$pattern")
    read -r interface key <<<"$(sed 's/\./ /' <<<"$property")"
    interface=org.mpris.${interface/#Player/MediaPlayer2.Player}
    case "${words[0]}" in
    -) ;;
    set) call --method org.freedesktop.DBus.Properties.Set "$iface" "${words[1]}" "<${words[2]}>" >/dev/null ;;
    *) call --method "$iface.${words[0]}" -- "${words[@]:1}" >/dev/null ;;
    esac
    reply=$(call --method org.freedesktop.DBus.Properties.Get "$interface" "$key" 2>&1)
    if grep -Eq -- "$pattern" <<<"$reply"; then
        echo "ok   $action -> $key"
    else
        echo "FAIL $action -> $key: $reply (expected $pattern)"
        failed=$((failed + 1))
    fi
done

# The signals the calls above caused: PropertiesChanged on Pause, Seeked after SetPosition.
sleep 0.3
grep -A 5 'member=PropertiesChanged' "$work/signals" | grep -q 'string "Paused"' ||
    { echo "FAIL no PropertiesChanged with \"Paused\""; failed=$((failed + 1)); }
grep -A 1 'member=Seeked' "$work/signals" | grep -q 'int64 5000000' ||
    { echo "FAIL no Seeked to 5 s"; failed=$((failed + 1)); }
call --method org.mpris.MediaPlayer2.Quit >/dev/null
endsWithZero "$playerPid"
[ "$failed" -eq 0 ] || fail "$failed check(s) failed"

# No session bus: the player starts, logs why it has no media controls, and ends normally.
DBUS_SESSION_BUS_ADDRESS="unix:path=$work/no-bus" "$player" --output null >"$work/player.out" 2>&1 &
playerPid=$!
pids+=($playerPid)
waitFor "newLog | grep -q 'Media controls (MPRIS) are off: no session bus'" ||
    fail "no log line for the missing session bus"
kill -TERM "$playerPid"
endsWithZero "$playerPid"
[ "$(newLog | grep -c 'Media controls')" -eq 1 ] || fail "not exactly one line: $(newLog | grep 'Media controls')"
echo "ok"
