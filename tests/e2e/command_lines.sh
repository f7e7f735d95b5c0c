#!/usr/bin/env bash
# Every program's command line, with no display: --help and --version print
# and exit 0; a usage error says so on standard error and exits 2.
set -u
panel="$1"; cue="$2"; emu="$3"; fw="$4"; ctl="$5"
fail=0
run() { env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$@" >"$out" 2>"$err"; }
out=$(mktemp); err=$(mktemp)
# A runtime directory of its own: a panel another test runs is never the one answering here.
XDG_RUNTIME_DIR=$(mktemp -d); export XDG_RUNTIME_DIR
trap 'rm -f "$out" "$err"; rm -rf "$XDG_RUNTIME_DIR"' EXIT
expect() { # status, what it is about, command...
  local want="$1" what="$2"; shift 2
  run "$@"; local got=$?
  [ "$got" -eq "$want" ] || { echo "$what: exit $got, not $want: $(head -c 300 "$err")"; fail=1; }
}
for program in "$panel" "$cue" "$emu" "$fw" "$ctl"; do
  name=$(basename "$program")
  expect 0 "$name --help" "$program" --help
  grep -q "^Usage: " "$out" || { echo "$name --help printed no usage"; fail=1; }
  expect 0 "$name --version" "$program" --version
  grep -qx "$name 0\.[0-9.]*" "$out" || { echo "$name --version printed: $(cat "$out")"; fail=1; }
  expect 0 "$name --help-all" "$program" --help-all
  expect 2 "$name --no-such-option" "$program" --no-such-option
  [ -s "$err" ] || { echo "$name: a usage error printed nothing on standard error"; fail=1; }
done
expect 2 "rz48panel with a stray argument" "$panel" stray
expect 2 "rz48panel --tab 9" "$panel" --tab 9
expect 2 "rz48cue with no command" "$cue"
expect 2 "rz48-emu --late soon" "$emu" --late soon
expect 2 "rz48-emu render with no setup" "$emu" render --at 01:00:00:00 -o "$out.png"
expect 2 "rz48-emu render --tctype 7" "$emu" render --setup /dev/null --tctype 7 --at 01:00:00:00 -o "$out.png"
: >"$out.setup"
expect 0 "rz48-emu render without a display" "$emu" render --setup "$out.setup" --at 01:00:00:00 -o "$out.png"
[ "$(head -c 4 "$out.png" 2>/dev/null | od -An -tx1 | tr -d ' \n')" = "89504e47" ] || { echo "rz48-emu render wrote no PNG"; fail=1; }
rm -f "$out.png"
expect 0 "rz48-emu render --help" "$emu" render --help
grep -q "^Usage: " "$out" || { echo "rz48-emu render --help printed no usage"; fail=1; }
expect 1 "rz48-emu render --setup /dev/zero" "$emu" render --setup /dev/zero --at 01:00:00:00 -o "$out.png"
grep -q "not a regular file" "$err" || { echo "rz48-emu render of a device: $(cat "$err")"; fail=1; }
# A CR-only sheet draws what its LF twin draws; a full disk keeps the old PNG.
printf ';tctype\t1\rA\t00:59:00:00\tx\rB\t01:00:10:00\ty\r' >"$out.cr"
tr '\r' '\n' <"$out.cr" >"$out.lf"
expect 0 "rz48-emu render of a CR-only sheet" "$emu" render --setup "$out.setup" --cues "$out.cr" --at 01:00:09:12 -o "$out.cr.png"
expect 0 "rz48-emu render of an LF sheet" "$emu" render --setup "$out.setup" --cues "$out.lf" --at 01:00:09:12 -o "$out.lf.png"
expect 0 "rz48-emu render with no cue" "$emu" render --setup "$out.setup" --at 01:00:09:12 -o "$out.none.png"
cmp -s "$out.cr.png" "$out.lf.png" && ! cmp -s "$out.lf.png" "$out.none.png" || { echo "rz48-emu render: a CR-only sheet draws otherwise"; fail=1; }
cp "$out.none.png" "$out.kept.png"
( ulimit -f 0; trap '' XFSZ; exec env -u DISPLAY "$emu" render --setup "$out.setup" --cues "$out.lf" --at 01:00:09:12 -o "$out.kept.png" ) 2>&1 | cat >"$err"
status=${PIPESTATUS[0]}
[ $status -eq 1 ] && grep -q "File too large" "$err" && cmp -s "$out.kept.png" "$out.none.png" \
  || { echo "rz48-emu render on a full disk: exit $status: $(cat "$err")"; fail=1; }
rm -f "$out.setup" "$out.cr" "$out.lf" "$out".*.png
# The panel without a display: one line saying how to run it, exit 1 (no abort).
expect 1 "rz48panel without a display" "$panel"
[ "$(wc -l <"$err")" -eq 1 ] && grep -q "no display.*--screenshot.*QT_QPA_PLATFORM=offscreen" "$err" \
  || { echo "rz48panel without a display said: $(cat "$err")"; fail=1; }
expect 2 "rz48fw with no command" "$fw"
expect 2 "rz48fw check with no file" "$fw" check
expect 2 "rz48fw check of a .bin" "$fw" check image.bin
exit $fail
