#!/usr/bin/env bash
# Cue lists on the panel's command line: opened at start; with a panel
# already running, passed to it (the second process exits at once); a file
# that is not there is a usage error.
set -u
panel="$1"
dir=$(mktemp -d)
pid=
trap '[ -n "$pid" ] && kill -KILL "$pid" 2>/dev/null; wait 2>/dev/null; rm -rf "$dir"' EXIT  # (the list has unsaved changes: a plain kill would be asked about them)
fail=0
say() { echo "$*"; fail=1; }
# A private world: its own temporary folder (where the panels meet), settings and data.
mkdir -p "$dir/tmp" "$dir/run" "$dir/home"
chmod 700 "$dir/run"
export TMPDIR="$dir/tmp" XDG_RUNTIME_DIR="$dir/run" XDG_CONFIG_HOME="$dir/home" XDG_DATA_HOME="$dir/home" QT_QPA_PLATFORM=offscreen
printf ';tctype\t1\nA1\t10:00:01:00\tHello\n' >"$dir/first.txt"
printf ';tctype\t1\nB2\t10:00:02:00\tWorld\n' >"$dir/second.txt"

"$panel" --simulate "$dir/first.txt" >"$dir/log" 2>&1 &
pid=$!
for _ in $(seq 100); do grep -q "cue list opened: .*first.txt" "$dir/log" && break; sleep 0.1; done
grep -q "cue list opened: $dir/first.txt" "$dir/log" || say "the file of the command line was not opened: $(cat "$dir/log")"
timeout 20 "$panel" "$dir/second.txt" >"$dir/out" 2>&1; status=$?
[ $status -eq 0 ] || say "a second panel: exit $status: $(cat "$dir/out")"
grep -q "opened in the panel already running" "$dir/out" || say "a second panel said: $(cat "$dir/out")"
for _ in $(seq 50); do grep -q "cue list opened: .*second.txt" "$dir/log" && break; sleep 0.1; done
grep -q "cue list opened: $dir/second.txt" "$dir/log" || say "the running panel did not open the file: $(cat "$dir/log")"
"$panel" "$dir/missing.rz48cues" >/dev/null 2>"$dir/err"; status=$?
[ $status -eq 2 ] && grep -q "no such cue list" "$dir/err" || say "a missing file: exit $status: $(cat "$dir/err")"
exit $fail
