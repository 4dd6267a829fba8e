#!/usr/bin/env bash
# CPU of the program's main window with both decks playing 5-minute tracks and all four waves
# scrolling (orvane-gallery --window), on a virtual X server, as percent of one core over a
# minute; and the underruns of the audio in that minute. The sound goes to the capture device
# at real-time pace, which plays like "[Null Output]" and also keeps what it was given, so a
# gap (a run of 32 or more frames of exact silence on both channels of two steady tones) shows
# where the ring ran dry. Settings and library live in a scratch home.
# Usage: bench/main_window_cpu.sh [build/release/orvane-gallery] [seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
gallery=$(realpath "${1:-build/release/orvane-gallery}")
seconds=${2:-60}
work=$(mktemp -d "${TMPDIR:-/tmp}/orvane-window-cpu.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/home"

# 5 minutes of a tone (whole cycles a second) with a click every half second; deck B's tone
# and tempo differ from deck A's.
python3 - "$work" <<'PY'
import array, math, sys, wave
rate = 44100
for name, hz, beat in (("a.wav", 441, rate // 2), ("b.wav", 630, rate * 4 // 9)):
    second = array.array('h')
    for f in range(rate):
        v = 8000 * math.sin(2 * math.pi * hz * f / rate)
        if f % beat < 200:
            v += 12000 * math.sin(2 * math.pi * 2205 * f / rate)
        second.extend((int(v), int(v)))
    with wave.open(f"{sys.argv[1]}/{name}", 'wb') as w:
        w.setnchannels(2); w.setsampwidth(2); w.setframerate(rate)
        data = second.tobytes()
        for _ in range(300):
            w.writeframes(data)
PY

tests/ui/XvfbTestRun.sh bash -c '
  gallery=$1; seconds=$2; work=$3
  export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_DATA_HOME="$work/home/.local/share"
  ORVANE_AUDIO_CAPTURE="$work/capture.wav" "$gallery" --window "$work/a.wav" "$work/b.wav" --play &
  pid=$!
  trap "kill $pid 2>/dev/null || true; wait $pid 2>/dev/null || true" EXIT
  timeout 30 xdotool search --sync --onlyvisible --pid $pid --name "^Orvane$" >/dev/null
  sleep 3  # the beat scans, the wave scans and the first paints end before counting
  ticks() { awk "{ print \$14 + \$15 }" "/proc/$pid/stat"; }
  start=$(ticks); sleep "$seconds"; end=$(ticks)
  hz=$(getconf CLK_TCK)
  echo "main window, two decks playing, four waves scrolling: $(echo "scale=2; 100 * ($end - $start) / ($hz * $seconds)" | bc) % of one core over $seconds s"
  kill -TERM $pid; wait $pid || true
' measure "$gallery" "$seconds" "$work"

bench/count_underruns.py "$work/capture.wav" 32 "runs of 32+ silent frames in the captured tones"
