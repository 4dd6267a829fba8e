#!/usr/bin/env bash
# CPU of the whole deck window (orvane-gallery --deck) playing a 5-minute track with both waves
# scrolling, on a virtual X server, as percent of one core over a minute; and the underruns of
# the audio in that minute. The sound goes to the capture device at real-time pace, which
# plays like "[Null Output]" and also keeps what it was given, so a gap (exact silence in a
# steady tone) shows where the ring ran dry.
# Usage: bench/deck_window_cpu.sh [build/release/orvane-gallery] [seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
gallery=$(realpath "${1:-build/release/orvane-gallery}")
seconds=${2:-60}
work=$(mktemp -d "${TMPDIR:-/tmp}/orvane-deck-cpu.XXXXXX")
trap 'rm -rf "$work"' EXIT

# 5 minutes of a 441 Hz tone (whole cycles a second) with a click every half second.
python3 - "$work/track.wav" <<'PY'
import array, math, sys, wave
rate = 44100
second = array.array('h')
for f in range(rate):
    v = 8000 * math.sin(2 * math.pi * 441 * f / rate)
    if f % (rate // 2) < 200:
        v += 12000 * math.sin(2 * math.pi * 2205 * f / rate)
    second.extend((int(v), int(v)))
with wave.open(sys.argv[1], 'wb') as w:
    w.setnchannels(2); w.setsampwidth(2); w.setframerate(rate)
    data = second.tobytes()
    for _ in range(300):
        w.writeframes(data)
PY

tests/ui/XvfbTestRun.sh bash -c '
  gallery=$1; seconds=$2; work=$3
  ORVANE_AUDIO_CAPTURE="$work/capture.wav" "$gallery" --deck "$work/track.wav" --play &
  pid=$!
  trap "kill $pid 2>/dev/null || true; wait $pid 2>/dev/null || true" EXIT
  timeout 30 xdotool search --sync --onlyvisible --name "^Orvane Deck Gallery$" >/dev/null
  sleep 3  # the scans and the first paints end before counting
  ticks() { awk "{ print \$14 + \$15 }" "/proc/$pid/stat"; }
  start=$(ticks); sleep "$seconds"; end=$(ticks)
  hz=$(getconf CLK_TCK)
  echo "deck window playing, both waves scrolling: $(echo "scale=2; 100 * ($end - $start) / ($hz * $seconds)" | bc) % of one core over $seconds s"
  kill -TERM $pid; wait $pid || true
' measure "$gallery" "$seconds" "$work"

bench/count_underruns.py "$work/capture.wav" 16 "gaps in the captured tone"
