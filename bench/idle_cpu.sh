#!/usr/bin/env bash
# CPU time the running panel uses while idle against its built-in emulated
# unit (both in one process): the link thread reads every 10 ms and the three
# preview loops turn every 33 ms; everything else must cost next to nothing.
#   bench/idle_cpu.sh PANEL [SECONDS]   (default 30 s)
set -euo pipefail
panel="$1"
seconds="${2:-30}"
QT_QPA_PLATFORM=offscreen "$panel" --simulate >/dev/null 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null || true' EXIT
sleep 3 # start-up queries and their reports
ticks() { awk '{print $14 + $15}' "/proc/$pid/stat"; }
hz=$(getconf CLK_TCK)
before=$(ticks)
sleep "$seconds"
after=$(ticks)
awk -v t=$((after - before)) -v hz="$hz" -v s="$seconds" \
  'BEGIN { printf "idle panel: %.2f s of CPU in %d s (%.2f %% of one core)\n", t / hz, s, t / hz / s * 100 }'
