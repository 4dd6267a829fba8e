#!/usr/bin/env bash
# From a double click on a library row to sound, for a 5-minute MP3: first with the conversion
# (nothing cached), then from the cached copy. The MP3 (a 441 Hz tone, 192 kbit/s) is made
# with ffmpeg's LAME encoder; the main window runs off screen with sound to the paced capture
# device. See bench/MainWindowDoubleClick.cpp for where the clock starts and stops.
# Usage: bench/doubleclick_library.sh [build/release/bench/bench_MainWindowDoubleClick] [RUNS]
set -euo pipefail
cd "$(dirname "$0")/.."
bench=$(realpath "${1:-build/release/bench/bench_MainWindowDoubleClick}")
runs=${2:-4}
work=$(mktemp -d "${TMPDIR:-/tmp}/orvane-dblclick.XXXXXX")
trap 'rm -rf "$work"' EXIT
ffmpeg -loglevel error -f lavfi -i "sine=frequency=441:sample_rate=44100:duration=300" \
  -ac 2 -c:a libmp3lame -b:a 192k "$work/five-minutes.mp3"
"$bench" "$work/five-minutes.mp3" "$runs"
