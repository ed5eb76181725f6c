#!/usr/bin/env bash
# Builds the real media that the tests play, into OUTDIR (default: build/test-media), from
# Debian packages and real encoders. Nothing here is committed; a stamp file makes reruns free.
#
# OUTDIR/
#   mod/      ProTracker modules (tecnoballz-data), one of them gzip-compressed
#   tracker/  IT and S3M modules (pingus-data)
#   ogg/      Ogg Vorbis sounds (sound-theme-freedesktop)
#   music.*   a 20 s piece rendered from a module, as wav, mp3, ogg, flac, wma, aiff, aac, m4a,
#             opus, and gzip variants music.wav.gz, music.mp3.gz
#   mono.wav, tone-48k.wav, silence-then-tone.wav   small synthetic files for exact checks
#   songs.zip a zip archive of a few of the above
set -euo pipefail
out=${1:-build/test-media}
stamp="$out/.complete-v1"
[ -f "$stamp" ] && exit 0
mkdir -p "$out/mod" "$out/tracker" "$out/ogg"

tecnoballz=/usr/share/games/tecnoballz/musics
pingus=/usr/share/games/pingus/data/music
sounds=/usr/share/sounds/freedesktop/stereo
for need in "$tecnoballz" "$pingus" "$sounds"; do
    [ -d "$need" ] || { echo "missing $need: run scripts/install-deps.sh" >&2; exit 1; }
done

cp "$tecnoballz"/*.mod "$out/mod/"
cp "$pingus"/*.it "$pingus"/*.s3m "$out/tracker/"
cp "$sounds"/*.oga "$out/ogg/" 2>/dev/null || true
for f in "$out"/ogg/*.oga; do [ -e "$f" ] && mv "$f" "${f%.oga}.ogg"; done

ff() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }

# A piece of real music as the source of every encoded format.
ff -i "$tecnoballz/area2-game.mod" -t 20 -ar 44100 -ac 2 -c:a pcm_s16le -bitexact "$out/music.wav"
lame --quiet -b 160 "$out/music.wav" "$out/music.mp3"
lame --quiet -V 4 "$out/music.wav" "$out/music-vbr.mp3"
flac --silent -f -o "$out/music.flac" "$out/music.wav"
sox "$out/music.wav" "$out/music.aiff"
ff -i "$out/music.wav" -c:a libvorbis -q:a 4 "$out/music.ogg"
ff -i "$out/music.wav" -c:a wmav2 -b:a 128k "$out/music.wma"
ff -i "$out/music.wav" -c:a aac -b:a 128k "$out/music.aac"
ff -i "$out/music.wav" -c:a aac -b:a 128k "$out/music.m4a"
ff -i "$out/music.wav" -c:a libopus -b:a 96k "$out/music.opus"
gzip -9 -c "$out/music.wav" > "$out/music.wav.gz"
gzip -9 -c "$out/music.mp3" > "$out/music.mp3.gz"
gzip -9 -c "$tecnoballz/area1-game.mod" > "$out/mod/area1-game.mod.gz"

# Small synthetic files for exact checks.
sox -n -r 44100 -c 1 -b 16 "$out/mono.wav" synth 2 sine 440 vol 0.5
sox -n -r 48000 -c 2 -b 16 "$out/tone-48k.wav" synth 3 sine 1000 vol 0.5
sox -n -r 44100 -c 2 -b 16 "$out/silence-then-tone.wav" \
    synth 1 sine 0 vol 0 : synth 2 sine 660 vol 0.5 : synth 1 sine 0 vol 0

(cd "$out" && rm -f songs.zip && zip -q -r songs.zip music.mp3 music.ogg mod/area3-game.mod)

touch "$stamp"
echo "test media ready in $out"
