#!/usr/bin/env bash
# CPU time the running panel uses while idle against its built-in emulated
# unit (both in one process): the link thread reads every 10 ms and the three
# preview loops turn every 33 ms; everything else must cost next to nothing.
# The time is the scheduler's own count per thread (/proc/PID/task/*/schedstat,
# in nanoseconds), not the clock-tick samples of /proc/PID/stat.
#   bench/idle_cpu.sh PANEL [SECONDS]   (default 30 s)
set -euo pipefail
panel="$1"
seconds="${2:-30}"
QT_QPA_PLATFORM=offscreen "$panel" --simulate >/dev/null 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null || true' EXIT
sleep 3 # start-up queries and their reports
# Nanoseconds on a core, summed over the process's threads.
cpu() { cat /proc/"$pid"/task/*/schedstat | awk '{ t += $1 } END { printf "%d\n", t }'; }
before=$(cpu)
sleep "$seconds"
after=$(cpu)
awk -v ns=$((after - before)) -v s="$seconds" \
  'BEGIN { printf "idle panel: %.3f s of CPU in %d s (%.2f %% of one core)\n", ns / 1e9, s, ns / 1e9 / s * 100 }'
