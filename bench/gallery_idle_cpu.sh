#!/usr/bin/env bash
# CPU the gallery uses while nobody touches it, on a virtual X server: once still (nothing
# moves: the target is near 0) and once with the meters' test signal running.
# Usage: bench/gallery_idle_cpu.sh [build/release/orvane-gallery] [seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
gallery=$(realpath "${1:-build/release/orvane-gallery}")
seconds=${2:-10}

measure() {  # measure LABEL [ARG...]
  local label=$1; shift
  tests/ui/XvfbTestRun.sh bash -c '
    gallery=$1; seconds=$2; label=$3; shift 3
    "$gallery" "$@" &
    pid=$!
    trap "kill $pid 2>/dev/null || true; wait $pid 2>/dev/null || true" EXIT
    timeout 30 xdotool search --sync --onlyvisible --name "^Orvane toolkit gallery$" >/dev/null
    sleep 3  # the first paints and the fall of the meter peaks end before counting
    ticks() { awk "{ print \$14 + \$15 }" "/proc/$pid/stat"; }
    start=$(ticks); sleep "$seconds"; end=$(ticks)
    hz=$(getconf CLK_TCK)
    echo "$label: $(echo "scale=2; 100 * ($end - $start) / ($hz * $seconds)" | bc) % of one core over $seconds s"
  ' measure "$gallery" "$seconds" "$label" "$@"
}

measure "gallery idle, still" --still
measure "gallery idle, meters moving"
