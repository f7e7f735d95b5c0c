#!/usr/bin/env bash
# rz48ctl against the emulated unit: a saved setup has one line per setup
# letter in order; applying a changed setup to a second unit leaves nothing
# to report, while diff against a third shows the change; a file with an
# unknown line is refused with its line number; the cue transfer, good and
# failed; exit codes for no unit and wrong usage.
set -u
ctl="$1"; emu="$2"
dir=$(mktemp -d)
pid=
trap '[ -n "$pid" ] && kill "$pid" 2>/dev/null; wait 2>/dev/null; rm -rf "$dir"' EXIT
fail=0
say() { echo "$*"; fail=1; }
run() { "$ctl" "$@" >"$dir/out" 2>"$dir/err"; }

run --simulate save "$dir/unit.rz48setup" || say "save: exit $?: $(cat "$dir/err")"
[ "$(grep -v '^#' "$dir/unit.rz48setup" | cut -c1 | tr -d '\n')" = "ACEGHJMQUXYmnrt" ] \
  || say "save: not one line per letter in order: $(cat "$dir/unit.rz48setup")"
grep -qx "C 0 28 0 64 0 ff ff 0" "$dir/unit.rz48setup" || say "save: the C line is not the command of the C report"
grep -qx "Y 0" "$dir/unit.rz48setup" || say "save: no Y line"
grep -q "^# firmware .*3\.32\.6$" "$dir/unit.rz48setup" || say "save: the firmware comment is missing"

sed 's/^H .*/H 12 0 7 0 40/; s/^Y .*/Y 3/' "$dir/unit.rz48setup" >"$dir/changed.rz48setup"
run --simulate apply "$dir/changed.rz48setup" || say "apply: exit $?: $(cat "$dir/out" "$dir/err")"
run --simulate diff "$dir/changed.rz48setup"; status=$?
[ $status -eq 1 ] || say "diff of a changed setup: exit $status, not 1"
[ "$(cat "$dir/out")" = "$(printf 'H: file H 12 0 7 0 40 / unit H 0 0 0 0 0\nY: file Y 3 / unit Y 0')" ] \
  || say "diff printed: $(cat "$dir/out")"

printf '# a setup\nA 2\n\nZ 1\n' >"$dir/bad.rz48setup"
run --simulate diff "$dir/bad.rz48setup"; status=$?
[ $status -eq 1 ] || say "unknown line: exit $status, not 1"
grep -q "bad.rz48setup:4: not a setting command" "$dir/err" || say "unknown line: $(cat "$dir/err")"

# CR-only line ends read like LF; a file with no setting, or a value beyond
# its field, is refused with nothing sent.
printf '# a setup\rH 12 0 7 0 40\r' >"$dir/cr.rz48setup"
run --simulate diff "$dir/cr.rz48setup"; status=$?
[ $status -eq 1 ] && grep -qx "H: file H 12 0 7 0 40 / unit H 0 0 0 0 0" "$dir/out" || say "CR-only setup: exit $status: $(cat "$dir/out" "$dir/err")"
printf '# only a comment\n' >"$dir/empty.rz48setup"
run --simulate apply "$dir/empty.rz48setup"; status=$?
[ $status -eq 1 ] && grep -q "no setting in .*empty.rz48setup" "$dir/err" || say "no setting: exit $status: $(cat "$dir/err")"
printf 'A 2\nH 99999999999 0 0 0 0\n' >"$dir/range.rz48setup"
run --simulate apply "$dir/range.rz48setup"; status=$?
[ $status -eq 1 ] && grep -q "range.rz48setup:2: 99999999999 is outside" "$dir/err" || say "out of range: exit $status: $(cat "$dir/err")"

# A line break inside an argument separates two commands, never merges them.
run --simulate send $'A 2\nA 0' A || say "send of two lines: exit $?: $(cat "$dir/err")"
[ "$(tail -1 "$dir/out")" = "A 0" ] || say "send of two lines: the unit reports $(tail -1 "$dir/out")"

# A full disk: save fails, says why, and keeps the old file.
echo "# the old setup" >"$dir/kept.rz48setup"
( ulimit -f 0; trap '' XFSZ; exec "$ctl" --simulate save "$dir/kept.rz48setup" ) 2>&1 | cat >"$dir/err"
status=${PIPESTATUS[0]}
[ $status -eq 1 ] || say "save on a full disk: exit $status, not 1"
grep -q "File too large" "$dir/err" || say "save on a full disk said: $(cat "$dir/err")"
[ "$(cat "$dir/kept.rz48setup")" = "# the old setup" ] || say "save on a full disk changed the old file"
[ "$(ls -A "$dir" | grep -c '^\.kept')" -eq 0 ] || say "save on a full disk left a temporary file"

printf '01:00:00:00 01:00:05:00 first\n01:00:10:00 second\n' >"$dir/sheet.txt"
run --simulate send-cues "$dir/sheet.txt" || say "send-cues: exit $?: $(cat "$dir/err")"
[ "$(cat "$dir/out")" = "$(printf 'h 0\nsuccess!')" ] || say "send-cues printed: $(cat "$dir/out")"
grep -q "^rz48ctl: 3 of 3 sent$" "$dir/err" || say "send-cues: no progress on standard error"
mkdir "$dir/dev"
"$emu" --dir "$dir/dev" --bad-pairs 2 >/dev/null 2>&1 &
pid=$!
for _ in $(seq 50); do [ -L "$dir/dev/tty.usbserial-EMU" ] && break; sleep 0.1; done
run --dev-dir "$dir/dev" send-cues "$dir/sheet.txt"; status=$?
[ $status -eq 1 ] || say "failed transfer: exit $status, not 1"
grep -qx "h 2" "$dir/out" || say "failed transfer printed: $(cat "$dir/out")"

run --dev-dir "$dir/nothing-here" get; status=$?
[ $status -eq 3 ] || say "no unit: exit $status, not 3"
# Wrong usage is found before any port is looked at.
for args in "" "get Z" "trigger punch9" "save" "frobnicate" "--simulate --port /dev/null get"; do
  run --dev-dir "$dir/nothing-here" $args; status=$?
  [ $status -eq 2 ] || say "rz48ctl $args: exit $status, not 2"
done
exit $fail
