#!/usr/bin/env bash
# The real player (offscreen, null output) on a private session bus, driven through its MPRIS2
# interfaces with gdbus. Each row of the table calls a method or sets a property, then reads a
# property back, whose reply must match a pattern, and may expect the signals the call sends
# (PropertiesChanged, Seeked); Quit must end the player with exit code 0. Then, without a session
# bus, or with the name taken by another player, the player must still start, log one line
# saying why, and end normally.
set -u
media=$2
. "$(dirname "$0")/../support/player-test-env.sh" "$1"
export QT_QPA_PLATFORM=offscreen
# Waits up to 10 s for process $1 to end and checks its exit code is 0.
endsWithZero() {
    for _ in $(seq 100); do kill -0 "$1" 2>/dev/null || break; sleep 0.1; done
    kill -0 "$1" 2>/dev/null && fail "the player did not end"
    wait "$1" || fail "the player ended with exit code $?"
}

dbus-daemon --session --nofork --print-address=3 3>"$work/address" 2>/dev/null &
pids+=($!)
waitFor test -s "$work/address" || fail "no dbus-daemon"
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
# signal: extended regular expression for the signals the action sends (dbus-monitor's text,
#         lines joined), or empty
changed='member=PropertiesChanged .*'
table=(
    "-                            | MediaPlayer2.Identity | ^\(<'Tamberlo'>,\)$ |"
    "-                            | Player.PlaybackStatus | 'Playing' |"
    "-                            | Player.Metadata       | 'xesam:title': <'music.flac'> |"
    "-                            | Player.Metadata       | 'mpris:length': <int64 20[0-9]{6}> |"
    "Pause                        | Player.PlaybackStatus | 'Paused' |
        $changed\"PlaybackStatus\" +variant +string \"Paused\""
    "SetPosition $track/0 5000000 | Player.Position       | <int64 5000000> |
        member=Seeked +int64 5000000"
    "SetPosition $track/1 9000000 | Player.Position       | <int64 5000000> |"
    "Seek 3000000                 | Player.Position       | <int64 8000000> |
        member=Seeked +int64 8000000"
    "Seek -60000000               | Player.Position       | <int64 0> |"
    "Play                         | Player.PlaybackStatus | 'Playing' |"
    "Next                         | Player.Metadata       | '$track/1'>, 'xesam:title': <'music.ogg'> |
        $changed\"Metadata\" .*\"$track/1\""
    "Previous                     | Player.Metadata       | '$track/0'>, 'xesam:title': <'music.flac'> |"
    "set Volume 0.37              | Player.Volume         | <0.37> |
        $changed\"Volume\" +variant +double 0.37"
    "OpenUri file://$media/music.wav | Player.Metadata    | '$track/3'>, 'xesam:title': <'music.wav'> |"
    "-                            | Player.PlaybackStatus | 'Playing' |"
    "Stop                         | Player.PlaybackStatus | 'Stopped' |"
    "Play                         | Player.PlaybackStatus | 'Playing' |"
)
trim() { sed 's/^ *//; s/ *$//' <<<"$1"; }
failed=0
for row in "${table[@]}"; do
    row=$(tr '\n' ' ' <<<"$row")
    IFS='|' read -r action property pattern signal <<<"$row"
    read -r -a words <<<"$action"
    pattern=$(trim "$pattern")
    signal=$(trim "$signal")
    read -r interface key <<<"$(sed 's/\./ /' <<<"$property")"
    interface=org.mpris.${interface/#Player/MediaPlayer2.Player}
    seen=$(wc -l <"$work/signals")
    case "${words[0]}" in
    -) ;;
    set) call --method org.freedesktop.DBus.Properties.Set "$iface" "${words[1]}" "<${words[2]}>" >/dev/null ;;
    *) call --method "$iface.${words[0]}" -- "${words[@]:1}" >/dev/null ;;
    esac
    reply=$(call --method org.freedesktop.DBus.Properties.Get "$interface" "$key" 2>&1)
    newSignals() { tail -n +"$((seen + 1))" "$work/signals" | tr '\n' ' '; }
    if ! grep -Eq -- "$pattern" <<<"$reply"; then
        echo "FAIL $action -> $key: $reply (expected $pattern)"
        failed=$((failed + 1))
    elif [ -n "$signal" ] && ! waitFor "newSignals | grep -Eq -- '$signal'"; then
        echo "FAIL $action: no signal matching $signal"
        failed=$((failed + 1))
    else
        echo "ok   $action -> $key"
    fi
done
[ "$failed" -eq 0 ] || fail "$failed check(s) failed"

# Without media controls the player still runs: a second player (--new-instance, or it would
# hand over to the first) finds the name taken, one
# without a session bus has none; each logs one line saying why and ends normally.
for row in "$DBUS_SESSION_BUS_ADDRESS|the name $name is owned by another process" \
    "unix:path=$work/no-bus|no session bus"; do
    IFS='|' read -r address why <<<"$row"
    DBUS_SESSION_BUS_ADDRESS=$address "$player" --new-instance --output null >"$work/other.out" 2>&1 &
    otherPid=$!
    pids+=($otherPid)
    waitFor "newLog | grep -qF 'Media controls (MPRIS) are off: $why'" || fail "no log line: $why"
    kill -TERM "$otherPid"
    endsWithZero "$otherPid"
    [ "$(newLog | grep -cF "$why")" -eq 1 ] || fail "not one line: $(newLog | grep -F "$why")"
done

# No bus advertised at all (no address, no $XDG_RUNTIME_DIR/bus): without dbus-launch the
# player says so itself rather than letting the bus library fork it to try one; with a
# dbus-launch to run, the library's own attempt is left alone.
mkdir -p "$work/no-launcher" "$work/launcher"
printf '#!/bin/sh\nexit 1\n' >"$work/launcher/dbus-launch"
chmod +x "$work/launcher/dbus-launch"
ours="no session bus (no session bus is advertised and dbus-launch is missing)"
if [ ! -x /usr/bin/dbus-launch ]; then
    for row in "no-launcher|yes" "launcher|no"; do
        IFS='|' read -r folder expected <<<"$row"
        rowStart=$(wc -l <"$log")
        env -u DBUS_SESSION_BUS_ADDRESS PATH="$work/$folder" "$player" --new-instance \
            --output null >"$work/other.out" 2>&1 &
        otherPid=$!
        pids+=($otherPid)
        rowLog() { tail -n +"$((rowStart + 1))" "$log"; }
        waitFor "rowLog | grep -qF 'Media controls (MPRIS) are off: no session bus'" ||
            fail "$folder: no log line"
        said=$(rowLog | grep -cF "$ours")
        [ "$said" -eq "$([ "$expected" = yes ] && echo 1 || echo 0)" ] ||
            fail "$folder: $(rowLog | grep -F 'MPRIS')"
        kill -TERM "$otherPid"
        endsWithZero "$otherPid"
    done
fi

# Quit on the bus closes the first player as its Quit button does.
call --method org.mpris.MediaPlayer2.Quit >/dev/null
endsWithZero "$playerPid"
echo "ok"
