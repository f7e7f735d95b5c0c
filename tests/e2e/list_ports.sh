#!/usr/bin/env bash
# rz48panel --list-ports, with no display: an empty device directory says
# there is no adapter (exit 3: no unit); with rz48-emu the port answers the
# probe (exit 0).
set -u
emu="$1"; panel="$2"
dir=$(mktemp -d)
trap 'kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null; rm -rf "$dir"' EXIT
fail=0
out=$(env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM= "$panel" --list-ports --dev-dir "$dir" 2>&1)
[ $? -eq 3 ] || { echo "no unit: exit status not 3"; fail=1; }
grep -q "^no USB serial adapter found: nothing in $dir is named like tty.usbserial or ttyUSB" <<<"$out" || { echo "no-adapter line missing: $out"; fail=1; }
"$emu" --dir "$dir" >/dev/null 2>&1 &
pid=$!
for _ in $(seq 50); do [ -L "$dir/tty.usbserial-EMU" ] && break; sleep 0.1; done
out=$(env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM= "$panel" --list-ports --dev-dir "$dir" 2>&1)
[ $? -eq 0 ] || { echo "a unit answered: exit status not 0"; fail=1; }
grep -q "^$dir/tty.usbserial-EMU: opened; answered the probe: an RZ-48$" <<<"$out" || { echo "port line missing: $out"; fail=1; }
exit $fail
