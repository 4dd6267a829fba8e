#!/bin/sh
# Times `orvane-tool deck` with every effect on over a 60-second stereo file and prints the
# multiple of real time. Usage: bench/deck_tool_speed.sh [build/release/orvane-tool]
set -eu
tool=${1:-build/release/orvane-tool}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sox -n -r 44100 -c 2 -b 16 "$work/in.wav" synth 60 sine 110 sine 660 vol 0.5

best=
for _ in 1 2 3; do
    s=$(date +%s.%N)
    "$tool" deck "$work/in.wav" "$work/out.wav" --eq 3,-6,4 --highpass 120 --reverb 30,2000,40 \
        --distortion 0.4,3 --phaser 3,60 --flanger 5,0.5,40,50 --delay 40,375 --pitch 1.05
    e=$(date +%s.%N)
    t=$(echo "$e - $s" | bc)
    if [ -z "$best" ] || [ "$(echo "$t < $best" | bc)" = 1 ]; then best=$t; fi
done
echo "orvane-tool deck, every effect on, 60 s of audio: $best s ($(echo "scale=1; 60 / $best" | bc)x real time)"
