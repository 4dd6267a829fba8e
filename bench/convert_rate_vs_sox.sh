#!/bin/sh
# Times `orvane-tool convert --rate 48000` against `sox -r 48000` on the same 10-minute stereo
# file, in the same run. Usage: bench/convert_rate_vs_sox.sh [build/release/orvane-tool]
set -eu
tool=${1:-build/release/orvane-tool}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sox -n -r 44100 -c 2 -b 16 "$work/in.wav" synth 600 sine 440 sine 3000 vol 0.5

best() {  # best wall time in seconds of three runs of the command given
    b=
    for _ in 1 2 3; do
        s=$(date +%s.%N)
        "$@" >/dev/null 2>&1
        e=$(date +%s.%N)
        t=$(echo "$e - $s" | bc)
        if [ -z "$b" ] || [ "$(echo "$t < $b" | bc)" = 1 ]; then b=$t; fi
    done
    echo "$b"
}

echo "orvane-tool convert --rate 48000: $(best "$tool" convert "$work/in.wav" "$work/ours.wav" --rate 48000) s"
echo "sox -r 48000:                     $(best sox "$work/in.wav" -r 48000 "$work/sox.wav") s"
