#!/usr/bin/env bash
# CPU time the running panel uses while idle against its built-in emulated
# unit (both in one process), and beside it, in the same seconds, what the
# pacing alone costs (bench/idle_pacing: a thread reading every 10 ms and three
# turning every 33 ms), since a wake-up's cost varies with the machine's load.
# Times are the scheduler's own count per thread (/proc/PID/task/*/schedstat,
# in nanoseconds), not the clock-tick samples of /proc/PID/stat.
#   bench/idle_cpu.sh PANEL [SECONDS]   (default 30 s; idle_pacing is looked
#   for beside the panel's build tree, in bench/)
set -euo pipefail
panel="$1"
seconds="${2:-30}"
pacing="$(dirname "$panel")/../bench/idle_pacing"
QT_QPA_PLATFORM=offscreen "$panel" --simulate >/dev/null 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null || true' EXIT
sleep 3 # start-up queries and their reports
# Nanoseconds on a core, summed over a process's threads.
cpu() { cat /proc/"$1"/task/*/schedstat 2>/dev/null | awk '{ t += $1 } END { printf "%d\n", t }'; }
bare=""
if [ -x "$pacing" ]; then
  "$pacing" "$((seconds + 2))" &
  bare=$!
fi
before=$(cpu $pid)
[ -n "$bare" ] && bare_before=$(cpu $bare)
sleep "$seconds"
after=$(cpu $pid)
[ -n "$bare" ] && bare_after=$(cpu $bare)
awk -v ns=$((after - before)) -v s="$seconds" \
  'BEGIN { printf "idle panel: %.3f s of CPU in %d s (%.2f %% of one core)", ns / 1e9, s, ns / 1e9 / s * 100 }'
if [ -n "$bare" ]; then
  awk -v ns=$((bare_after - bare_before)) \
    'BEGIN { printf "; the pacing alone, in the same seconds: %.2f %%", ns / 1e9 / '"$seconds"' * 100 }'
  wait "$bare" || true
fi
echo
