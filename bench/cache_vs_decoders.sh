#!/bin/sh
# A track's load time: `orvane-tool cache` against the decoder alone, in the same run, on a
# 5-minute 320 kbit/s MP3 (against `ffmpeg -ar 44100 -ac 2`), a FLAC file (against `flac -d`)
# and an Ogg Vorbis file (against `oggdec`). Each cache run starts from an empty cache.
# Usage: bench/cache_vs_decoders.sh [build/release/orvane-tool]
set -eu
tool=$(realpath "${1:-build/release/orvane-tool}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT INT TERM
export HOME="$work/home" XDG_DATA_HOME="$work/home/data" XDG_CONFIG_HOME="$work/home/config"
mkdir -p "$HOME"

# Five minutes of pink noise at 44,100 Hz, 16 bits, stereo, in each format.
sox -n -r 44100 -c 2 -b 16 "$work/in.wav" synth 300 pinknoise vol 0.5
ffmpeg -v error -i "$work/in.wav" -c:a libmp3lame -b:a 320k "$work/in.mp3"
flac -s -o "$work/in.flac" "$work/in.wav"
oggenc -Q -o "$work/in.ogg" "$work/in.wav"

best() {  # the best of three runs of a command, in seconds
    b=""
    for i in 1 2 3; do
        rm -rf "$XDG_DATA_HOME/Orvane/Cache" "$work"/out.wav
        s=$(date +%s.%N)
        "$@" >/dev/null 2>&1
        e=$(date +%s.%N)
        t=$(echo "$e - $s" | bc)
        if [ -z "$b" ] || [ "$(echo "$t < $b" | bc)" = 1 ]; then b=$t; fi
    done
    echo "$b"
}

report() {  # name, cache time, decoder time
    printf '%-5s cache %6.3f s   decoder alone %6.3f s   ratio %.2f (at most 1.5)\n' "$1" "$2" "$3" \
        "$(echo "$2 / $3" | bc -l)"
}

report mp3 "$(best "$tool" cache "$work/in.mp3")" "$(best ffmpeg -v error -y -i "$work/in.mp3" -ar 44100 -ac 2 "$work/out.wav")"
report flac "$(best "$tool" cache "$work/in.flac")" "$(best flac -s -d -o "$work/out.wav" -F "$work/in.flac")"
report ogg "$(best "$tool" cache "$work/in.ogg")" "$(best oggdec -Q -o "$work/out.wav" "$work/in.ogg")"
