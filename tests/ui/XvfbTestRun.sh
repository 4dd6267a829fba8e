#!/usr/bin/env bash
# Runs a command on a virtual X server of its own. Xvfb picks a free display itself and
# reports it (-displayfd), so parallel runs never race for a display number.
# Usage: XvfbTestRun.sh COMMAND [ARG...]
set -euo pipefail

screen="${XVFB_SCREEN:-1280x1024x24}"
work=$(mktemp -d "${TMPDIR:-/tmp}/orvane-xvfb.XXXXXX")
server=""
cleanup() {
  if [[ -n "$server" ]]; then
    kill "$server" 2>/dev/null || true
    wait "$server" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 143' TERM INT

mkfifo "$work/display"
Xvfb -displayfd 3 -screen 0 "$screen" -nolisten tcp -noreset 3>"$work/display" \
  >"$work/xvfb.log" 2>&1 &
server=$!
# The server writes its display number once it accepts clients.
if ! read -r -t 30 number <"$work/display"; then
  echo "XvfbTestRun: Xvfb did not start" >&2
  cat "$work/xvfb.log" >&2
  exit 1
fi
export DISPLAY=":$number"
unset QT_QPA_PLATFORM WAYLAND_DISPLAY
"$@"
