#!/bin/sh
# Times `orvane-tool convert` against `sox` on the same 10-minute 16-bit stereo WAVE file, in
# the same run. Usage: bench/convert_vs_sox.sh [build/release/orvane-tool]
set -eu
tool=${1:-build/release/orvane-tool}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT INT TERM

# Ten minutes of pink noise at 44,100 Hz, 16 bits, stereo (about 106 MB).
sox -n -r 44100 -c 2 -b 16 "$work/in.wav" synth 600 pinknoise vol 0.5

if command -v hyperfine >/dev/null 2>&1; then
    hyperfine --warmup 2 --runs 10 \
        -n "orvane-tool convert" "$tool convert $work/in.wav $work/orvane.wav" \
        -n "sox" "sox $work/in.wav $work/sox.wav"
else
    for i in 1 2 3; do
        /usr/bin/time -f "orvane-tool convert: %e s" "$tool" convert "$work/in.wav" "$work/orvane.wav"
        /usr/bin/time -f "sox: %e s" sox "$work/in.wav" "$work/sox.wav"
    done
fi
# Headers differ (sox writes its own chunks); the sample data must not.
bytes=$((600 * 44100 * 4))
tail -c $bytes "$work/in.wav" >"$work/in.raw"
tail -c $bytes "$work/orvane.wav" >"$work/orvane.raw"
cmp "$work/in.raw" "$work/orvane.raw" && echo "orvane-tool kept every sample"
