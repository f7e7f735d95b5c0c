#!/usr/bin/env bash
# Runs a command under its own X server: Xvfb on a free display, 1920 x 1080
# at 24 bits, with OpenGL in software (Mesa). Exits with the command's status,
# or 77 (skipped) when Xvfb is not installed.
set -u
command -v Xvfb >/dev/null || { echo "skipped: Xvfb is not installed (scripts/setup installs it)"; exit 77; }
n=90
while [ -e "/tmp/.X$n-lock" ] || [ -e "/tmp/.X11-unix/X$n" ]; do n=$((n + 1)); done
export DISPLAY=":$n"
Xvfb "$DISPLAY" -screen 0 1920x1080x24 -nolisten tcp >/dev/null 2>&1 &
server=$!
trap 'kill -KILL "$server" 2>/dev/null; wait 2>/dev/null' EXIT
for _ in $(seq 50); do xwininfo -root >/dev/null 2>&1 && break; sleep 0.1; done
"$@"
