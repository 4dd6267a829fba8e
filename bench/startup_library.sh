#!/usr/bin/env bash
# Start-up of the program's window with an empty library and with one of 10,000 entries:
# from the start of the process to its main window mapped on a virtual X server, each run
# with a home of its own. Prints the median of RUNS starts for each, and the difference.
# Usage: bench/startup_library.sh [build/release/orvane] [RUNS] [ENTRIES]
set -euo pipefail
cd "$(dirname "$0")/.."
program=$(realpath "${1:-build/release/orvane}")
runs=${2:-7}
entries=${3:-10000}
work=$(mktemp -d "${TMPDIR:-/tmp}/orvane-startup.XXXXXX")
trap 'rm -rf "$work"' EXIT

# library.xml of ENTRIES tracks, in the form the program writes, every field filled.
python3 - "$work/library.xml" "$entries" <<'PY'
import sys
count = int(sys.argv[2])
with open(sys.argv[1], 'w', encoding='utf-8') as out:
    out.write('<playlist>\n\n')
    for i in range(count):
        out.write('\t<playitem>\n')
        out.write(f'\t\t<path>/home/dj/Music/Artist {i % 700}/{i} track.mp3</path>\n')
        for key, value in (('cuemarkpos', 0), ('beatoffset', 1234), ('beatfreq', 21278),
                           ('samplerate', 44100), ('length', 9000000 + 37 * i), ('version', 1),
                           ('bpm', '124.35'), ('artist', f'Artist {i % 700}'),
                           ('album', f'Album {i % 3000}'), ('title', f'Track {i * 2654435761 % 1000003}')):
            out.write(f'\t\t<{key}>{value}</{key}>\n')
        out.write('\t</playitem>\n\n')
    out.write('</playlist>\n')
PY

tests/ui/XvfbTestRun.sh bash -c '
  program=$1; runs=$2; work=$3; tool=$(dirname "$program")/orvane-tool
  start_once() {  # $1: library file or "" for none; prints milliseconds to the window shown
    local home; home=$(mktemp -d "$work/home.XXXXXX")
    mkdir -p "$home/.config" "$home/.local/share/Orvane" "$home/run"; chmod 700 "$home/run"
    [[ -n $1 ]] && cp "$1" "$home/.local/share/Orvane/library.xml"
    # No headphone channels: the start-up check of the output channels stays quiet.
    HOME=$home XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share \
      "$tool" settings set Settings HeadphoneOutputLeft -1 >/dev/null
    HOME=$home XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share \
      "$tool" settings set Settings HeadphoneOutputRight -1 >/dev/null
    local t0 t1 pid
    t0=$(date +%s%N)
    HOME=$home XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share XDG_RUNTIME_DIR=$home/run \
      ORVANE_AUDIO_CAPTURE=$home/capture.wav "$program" & pid=$!
    # Polled every 10 ms: xdotool --sync looks only every half second.
    until xdotool search --onlyvisible --pid $pid --name "^Orvane$" >/dev/null 2>&1; do sleep 0.01; done
    t1=$(date +%s%N)
    kill -TERM $pid; wait $pid || true
    echo $(( (t1 - t0) / 1000000 ))
  }
  median() { sort -n | awk "{ a[NR] = \$1 } END { print a[int((NR + 1) / 2)] }"; }
  start_once "" >/dev/null  # the first start warms the file cache
  empty=$(for _ in $(seq "$runs"); do start_once ""; done | median)
  full=$(for _ in $(seq "$runs"); do start_once "$work/library.xml"; done | median)
  echo "start to window shown, empty library:      $empty ms (median of $runs)"
  echo "start to window shown, $(grep -c "<playitem>" "$work/library.xml") entries: $full ms (median of $runs)"
  echo "difference: $(( full - empty )) ms"
' measure "$program" "$runs" "$work"
