#!/bin/sh
# Beat detection and mixing speed of orvane-tool, side by side with `aubio tempo` on the same
# file in the same run, and detection accuracy on click trains.
# Usage: bench/bpm_mix_speed.sh [build/release/orvane-tool]
set -eu
tool=${1:-build/release/orvane-tool}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

now() { date +%s.%N; }

# A 5-minute track: a 128 BPM kick (a decaying 60 Hz burst) over a pad.
sox -n -r 44100 -c 2 -b 16 "$work/beat.wav" synth 0.2 sine 60 fade q 0 0.2 0.19 pad 0 0.26875
sox "$work/beat.wav" "$work/kick.wav" repeat 639
sox -n -r 44100 -c 2 -b 16 "$work/pad.wav" synth 300 sine 220 sine 330 vol 0.1
sox -m "$work/kick.wav" "$work/pad.wav" -b 16 "$work/track.wav" trim 0 300

s=$(now); "$tool" bpm "$work/track.wav" >"$work/ours.txt"; e=$(now)
ours=$(echo "$e - $s" | bc)
echo "orvane-tool bpm, 300 s track: $ours s ($(echo "scale=1; 300 / $ours" | bc)x real time): $(cut -f2 "$work/ours.txt") BPM"
if command -v aubio >/dev/null; then
    s=$(now); aubio tempo "$work/track.wav" >"$work/aubio.txt"; e=$(now)
    theirs=$(echo "$e - $s" | bc)
    echo "aubio tempo, same track: $theirs s ($(echo "scale=1; 300 / $theirs" | bc)x real time): $(tail -1 "$work/aubio.txt")"
    echo "orvane-tool bpm is $(echo "scale=1; $theirs / $ours" | bc) times faster"
fi

# Click trains: one 10 ms burst a beat.
for bpm in 80 100 128 140 174; do
    gap=$(echo "scale=6; 60 / $bpm - 0.01" | bc)
    sox -n -r 44100 -c 2 -b 16 "$work/c.wav" synth 0.01 sine 1000 pad 0 "$gap"
    sox "$work/c.wav" "$work/clicks$bpm.wav" repeat 60
    got=$("$tool" bpm "$work/clicks$bpm.wav" | cut -f2)
    echo "click train $bpm BPM: detected $got ($(echo "scale=3; 100 * ($got - $bpm) / $bpm" | bc) %)"
done

# Two 3-minute tracks through the console.
sox -n -r 44100 -c 2 -b 16 "$work/m1.wav" synth 180 sine 110 vol 0.4
sox -n -r 44100 -c 2 -b 16 "$work/m2.wav" synth 180 sine 165 vol 0.4
s=$(now); "$tool" mix "$work/m1.wav" "$work/m2.wav" -o "$work/mix.wav"; e=$(now)
t=$(echo "$e - $s" | bc)
len=$(soxi -D "$work/mix.wav")
echo "orvane-tool mix, two 180 s tracks ($len s of mix): $t s ($(echo "scale=1; $len / $t" | bc)x real time)"
