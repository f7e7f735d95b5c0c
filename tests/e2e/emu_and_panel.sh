#!/usr/bin/env bash
# End to end with the real programs: rz48-emu publishes its port, the panel
# finds it through the link and prints the unit's answers to the start-up queries.
set -u
emu="$1"; panel="$2"
dir=$(mktemp -d)
trap 'kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null; rm -rf "$dir"' EXIT
"$emu" --dir "$dir" --pace >"$dir/emu.log" 2>&1 &
pid=$!
for _ in $(seq 50); do [ -L "$dir/tty.usbserial-EMU" ] && break; sleep 0.1; done
out=$("$panel" --dir "$dir" --seconds 3 2>&1)
echo "$out"
fail=0
grep -q "^found RZ-48 on port $dir/tty.usbserial-EMU$" <<<"$out" || { echo "panel did not find the unit"; fail=1; }
grep -q "^RZ48 version .*-tty.usbserial-EMU$" <<<"$out" || { echo "no title line"; fail=1; }
grep -q "^rx: t 60 52 7$" <<<"$out" || { echo "last start-up report missing"; fail=1; }
grep -q 'rx: M 15\\r\\n' "$dir/emu.log" || { echo "unit did not log the start-up command"; fail=1; }
exit $fail
