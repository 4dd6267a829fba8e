#!/bin/sh
# A track's load time: `orvane-tool cache` against the decoder alone, in the same run, on a
# 5-minute 320 kbit/s MP3 (against `ffmpeg -ar 44100 -ac 2`), a FLAC file (against `flac -d`)
# and an Ogg Vorbis file (against `oggdec`). Each cache run starts from an empty cache; the best
# of RUNS (default 5) runs of each counts. CPU time is shown as well: on a loaded machine the
# wall times mostly measure the load.
# Usage: [RUNS=n] bench/cache_vs_decoders.sh [build/release/orvane-tool]
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

runs=${RUNS:-5}

# One run of a command from an empty cache: "wall cpu" in seconds, the CPU time being user and
# system time of the command and the programs it waited for (what a busy machine cannot bend).
run() {
    rm -rf "$XDG_DATA_HOME/Orvane/Cache" "$work"/out.wav
    s=$(date +%s.%N)
    /usr/bin/time -f '%U %S' -o "$work/cpu" "$@" >/dev/null 2>&1
    e=$(date +%s.%N)
    echo "$(echo "$e - $s" | bc) $(awk '{ print $1 + $2 }' "$work/cpu")"
}

below() { [ -z "$2" ] || [ "$(echo "$1 < $2" | bc)" = 1 ]; }

# name, input, then the decoder's command: the cache and the decoder run by turns, so that both
# meet the same load on a shared machine, and the best run of each counts.
compare() {
    name=$1 input=$2
    shift 2
    cw=""; cc=""; dw=""; dc=""
    i=0
    while [ $i -lt "$runs" ]; do
        c=$(run "$tool" cache "$input")
        d=$(run "$@")
        if below "${c% *}" "$cw"; then cw=${c% *}; fi
        if below "${c#* }" "$cc"; then cc=${c#* }; fi
        if below "${d% *}" "$dw"; then dw=${d% *}; fi
        if below "${d#* }" "$dc"; then dc=${d#* }; fi
        i=$((i + 1))
    done
    printf '%-5s cache %6.3f s   decoder alone %6.3f s   ratio %.2f (at most 1.5)   without the start %.2f   CPU %.2f / %.2f s = %.2f\n' \
        "$name" "$cw" "$dw" "$(echo "$cw / $dw" | bc -l)" "$(echo "($cw - $start) / $dw" | bc -l)" \
        "$cc" "$dc" "$(echo "$cc / $dc" | bc -l)"
}

# The program's own start (it loads FFmpeg's libraries and theirs), part of every cache time
# here but not of a load in the running program.
start=""; i=0
while [ $i -lt "$runs" ]; do
    t=$(run "$tool" --help)
    if below "${t% *}" "$start"; then start=${t% *}; fi
    i=$((i + 1))
done
printf 'start of orvane-tool alone %6.3f s\n' "$start"
compare mp3 "$work/in.mp3" ffmpeg -v error -y -i "$work/in.mp3" -ar 44100 -ac 2 "$work/out.wav"
compare flac "$work/in.flac" flac -s -d -o "$work/out.wav" -F "$work/in.flac"
compare ogg "$work/in.ogg" oggdec -Q -o "$work/out.wav" "$work/in.ogg"
