#!/usr/bin/env bash
# Every program's command line, with no display: --help and --version print
# and exit 0; a usage error says so on standard error and exits 2.
set -u
panel="$1"; cue="$2"; emu="$3"; fw="$4"; ctl="$5"
fail=0
run() { env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$@" >"$out" 2>"$err"; }
out=$(mktemp); err=$(mktemp)
trap 'rm -f "$out" "$err"' EXIT
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
  expect 2 "$name --no-such-option" "$program" --no-such-option
  [ -s "$err" ] || { echo "$name: a usage error printed nothing on standard error"; fail=1; }
done
expect 2 "rz48panel with a stray argument" "$panel" stray
expect 2 "rz48panel --tab 9" "$panel" --tab 9
expect 2 "rz48cue with no command" "$cue"
expect 2 "rz48-emu --late soon" "$emu" --late soon
expect 2 "rz48-emu render with no setup" "$emu" render --at 01:00:00:00 -o "$out.png"
expect 2 "rz48-emu render --tctype 7" "$emu" render --setup /dev/null --tctype 7 --at 01:00:00:00 -o "$out.png"
expect 0 "rz48-emu render without a display" "$emu" render --setup /dev/null --at 01:00:00:00 -o "$out.png"
[ "$(head -c 4 "$out.png" 2>/dev/null | od -An -tx1 | tr -d ' \n')" = "89504e47" ] || { echo "rz48-emu render wrote no PNG"; fail=1; }
rm -f "$out.png"
expect 2 "rz48fw with no command" "$fw"
expect 2 "rz48fw check with no file" "$fw" check
expect 2 "rz48fw check of a .bin" "$fw" check image.bin
exit $fail
