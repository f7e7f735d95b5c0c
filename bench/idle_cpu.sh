#!/usr/bin/env bash
# CPU time the running panel uses over 10 idle seconds against the emulated
# unit: the link thread and the three preview loops wake every few
# milliseconds and must cost next to nothing.
set -euo pipefail
panel="$1"
QT_QPA_PLATFORM=offscreen "$panel" --simulate >/dev/null 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null || true' EXIT
sleep 3 # start-up queries and their reports
ticks() { awk '{print $14 + $15}' "/proc/$pid/stat"; }
hz=$(getconf CLK_TCK)
before=$(ticks)
sleep 10
after=$(ticks)
awk -v t=$((after - before)) -v hz="$hz" 'BEGIN { printf "idle panel: %.2f s of CPU in 10 s (%.1f %% of one core)\n", t / hz, t / hz * 10 }'
