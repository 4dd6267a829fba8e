#!/usr/bin/env bash
# The program's window on a virtual X server, with an empty library in a scratch home: the
# time from starting the process to its window being mapped, the time from a quit request
# (SIGTERM, which takes the same path as the window's close button) to the process's exit, and
# the CPU of the idle window. Each timing is taken over several runs; the first run of all
# also fills the disk cache and is not counted.
# Usage: bench/main_window_start_stop.sh [build/release/orvane] [runs] [idle seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
program=$(realpath "${1:-build/release/orvane}")
runs=${2:-5}
idle=${3:-10}
work=$(mktemp -d "${TMPDIR:-/tmp}/orvane-start-stop.XXXXXX")
trap 'rm -rf "$work"' EXIT

tests/ui/XvfbTestRun.sh bash -c '
  program=$1; runs=$2; idle=$3; work=$4
  now() { date +%s%N; }
  ms() { echo $(( ($2 - $1) / 1000000 )); }
  once() {  # once LABEL: start, wait for the window, quit; prints "start_ms stop_ms"
    rm -rf "$work/home"; mkdir -p "$work/home"
    t0=$(now)
    HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_DATA_HOME="$work/home/.local/share" \
      ORVANE_AUDIO_CAPTURE="$work/capture.wav" "$program" &
    pid=$!
    until xdotool search --onlyvisible --pid $pid --name "^Orvane$" >/dev/null 2>&1; do
      kill -0 $pid 2>/dev/null || { echo "the program ended before its window showed" >&2; exit 1; }
      sleep 0.005
    done
    t1=$(now)
    if [[ -n "${2:-}" ]]; then
      sleep 3  # the first paints and the output check end before counting
      ticks() { awk "{ print \$14 + \$15 }" "/proc/$pid/stat"; }
      a=$(ticks); sleep "$idle"; b=$(ticks)
      echo "idle window: $(echo "scale=2; 100 * ($b - $a) / ($(getconf CLK_TCK) * $idle)" | bc) % of one core over $idle s" >&2
    else
      sleep 1
    fi
    t2=$(now)
    kill -TERM $pid
    wait $pid
    t3=$(now)
    echo "$(ms $t0 $t1) $(ms $t2 $t3)"
  }
  once warm >/dev/null
  starts=(); stops=()
  for ((i = 0; i < runs; ++i)); do
    read -r s q < <(once run)
    starts+=("$s"); stops+=("$q")
  done
  once idle measure >/dev/null
  echo "start to window shown (ms, $runs runs): ${starts[*]}"
  echo "quit request to process exit (ms, $runs runs): ${stops[*]}"
' measure "$program" "$runs" "$idle" "$work"
