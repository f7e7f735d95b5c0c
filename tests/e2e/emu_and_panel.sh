#!/usr/bin/env bash
# End to end with the real programs: rz48-emu publishes its port, the panel
# finds it, asks for every setting and writes a screenshot once the reports
# are in.
set -u
emu="$1"; panel="$2"
dir=$(mktemp -d)
trap 'kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null; rm -rf "$dir"' EXIT
"$emu" --dir "$dir" --pace >"$dir/emu.log" 2>&1 &
pid=$!
for _ in $(seq 50); do [ -L "$dir/tty.usbserial-EMU" ] && break; sleep 0.1; done
out=$(QT_QPA_PLATFORM=offscreen timeout 60 "$panel" --dev-dir "$dir" --screenshot "$dir/panel.png" 2>&1)
rc=$?
echo "$out"
fail=0
[ $rc -eq 0 ] || { echo "panel exited with $rc"; fail=1; }
grep -q "^found RZ-48 on port $dir/tty.usbserial-EMU$" <<<"$out" || { echo "panel did not find the unit"; fail=1; }
for shot in panel panel-cues panel-output; do
  [ "$(head -c 8 "$dir/$shot.png" 2>/dev/null | od -An -tx1 | tr -d ' \n')" = "89504e470d0a1a0a" ] \
    || { echo "no PNG screenshot $shot.png"; fail=1; }
done
for cmd in 'M 15' 't'; do
  grep -q "rx: $cmd\\\\r\\\\n" "$dir/emu.log" || { echo "unit did not receive $cmd"; fail=1; }
done
exit $fail
