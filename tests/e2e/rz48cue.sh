#!/usr/bin/env bash
# rz48cue end to end: convert a sheet to a MIDI track and back to a sheet,
# dump the track, and refuse bad input with a message and a non-zero exit.
set -u
cue="$1"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
fail=0
check() { if ! eval "$1"; then echo "FAILED: $2"; fail=1; fi; }

printf ';tctype\t1\n;start\t10:00:00:00\nA1\t10:00:01:00\tHello\nB2 10:00:03:00 World\n' >"$dir/in.txt"
"$cue" convert "$dir/in.txt" "$dir/out.mid" --cue-id >"$dir/log" 2>&1
check '[ $? -eq 0 ]' "convert to .mid"
check 'grep -q "^2 cues written to" "$dir/log"' "convert reports the cue count"
"$cue" dump "$dir/out.mid" >"$dir/dump" 2>&1
check 'grep -q "^midi rx: s A1	\\\\nHello$" "$dir/dump"' "the dump shows the first cue's text with its ID"
check 'grep -q "^smpte offset: 00:00:00:00:00 fps: 1$" "$dir/dump"' "the type from the sheet's option line"
check 'grep -q "^delta: 19200 note on: 119 64$" "$dir/dump"' "first cue one second after the start"
"$cue" convert "$dir/in.txt" "$dir/out.txt" --tctype 2 >/dev/null 2>&1
check 'grep -q "^;tctype	2$" "$dir/out.txt"' "command-line options override the sheet's"
check 'grep -q "^B2 	10:00:03:00	---	World	$" "$dir/out.txt"' "sheet line"

"$cue" convert "$dir/missing.txt" "$dir/x.txt" 2>"$dir/err"
check '[ $? -eq 1 ]' "unreadable input exits 1"
check 'grep -q "cannot read" "$dir/err"' "and says why"
printf '\xff\xfe garbage' >"$dir/bin.txt"
"$cue" convert "$dir/bin.txt" "$dir/x.mid" 2>"$dir/err"
check '[ $? -eq 1 ]' "non-UTF-8 input exits 1"
check 'grep -q "not UTF-8" "$dir/err"' "and says so"
printf 'no cues here\n' >"$dir/empty.txt"
"$cue" convert "$dir/empty.txt" "$dir/x.mid" 2>"$dir/err"
check '[ $? -eq 1 ] && [ ! -e "$dir/x.mid" ]' "no cues: no MIDI file"
"$cue" convert "$dir/in.txt" "$dir/x.doc" 2>/dev/null
check '[ $? -eq 2 ]' "unknown output type is a usage error"
"$cue" frobnicate 2>/dev/null
check '[ $? -eq 2 ]' "unknown command is a usage error"
exit $fail
