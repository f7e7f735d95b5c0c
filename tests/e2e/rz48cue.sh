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

# Input checks: not a MIDI file, options that do not parse, a sheet's type outside 0 to 3.
"$cue" dump "$cue" >/dev/null 2>"$dir/err"
check '[ $? -eq 1 ] && grep -q "is not a Standard MIDI File" "$dir/err"' "dump of a program is refused"
"$cue" convert "$dir/in.txt" "$dir/x.mid" --start banana 2>"$dir/err"
check '[ $? -eq 2 ] && grep -q -- "--start takes a timecode" "$dir/err"' "--start banana is a usage error"
"$cue" convert "$dir/in.txt" "$dir/x.mid" --offset soon 2>/dev/null
check '[ $? -eq 2 ]' "--offset soon is a usage error"
"$cue" check "$dir/in.txt" --tctype 9 2>/dev/null
check '[ $? -eq 2 ]' "--tctype 9 is a usage error"
printf ';tctype	9
A1	10:00:01:00	Hello
' >"$dir/type9.txt"
"$cue" convert "$dir/type9.txt" "$dir/x.mid" 2>"$dir/err"
check '[ $? -eq 1 ] && grep -q "timecode type 9 is not 0 to 3" "$dir/err" && [ ! -e "$dir/x.mid" ]' "a sheet's type 9 is refused"

# The pre-flight check: lines and summary, JSON, --strict, exit codes.
"$cue" check "$dir/in.txt" >"$dir/out"
check '[ $? -eq 0 ] && [ "$(cat "$dir/out")" = "0 errors, 0 warnings in 2 cues" ]' "a clean list: summary only, exit 0"
printf ';tctype	1
A	10:00:01:00
B	10:00:01:01
C	10:00:01:20
' >"$dir/close.txt"
"$cue" check "$dir/close.txt" --offset 2 >"$dir/out"
check '[ $? -eq 1 ]' "errors: exit 1"
check 'grep -qx "1: error: the MIDI note (800 ticks) is longer than the 1-frame gap to row 2 (768 ticks): the next delta wraps to hours" "$dir/out"' "an error line"
check 'grep -qx "3: warning: 19 frames after row 2, less than the streamer duration (50 frames): the unit'"'"'s streamers overlap" "$dir/out"' "a warning line"
check '[ "$(tail -1 "$dir/out")" = "1 error, 2 warnings in 3 cues" ]' "the summary last"
"$cue" check "$dir/close.txt" --offset 2 --json >"$dir/json" 2>"$dir/err"
check 'python3 -c "import json,sys; f=json.load(open(sys.argv[1])); sys.exit(0 if [x[\"row\"] for x in f]==[1,2,3] and f[0][\"severity\"]==\"error\" and set(f[0])=={\"row\",\"severity\",\"message\"} else 1)" "$dir/json"' "JSON on standard output"
check 'grep -qx "1 error, 2 warnings in 3 cues" "$dir/err"' "JSON: the summary on standard error"
printf ';tctype	1
A	10:00:01:00
B	10:00:01:10
' >"$dir/warn.txt"
"$cue" check "$dir/warn.txt" --offset 2 >/dev/null
check '[ $? -eq 0 ]' "warnings only: exit 0"
"$cue" check "$dir/warn.txt" --offset 2 --strict >/dev/null
check '[ $? -eq 1 ]' "warnings with --strict: exit 1"
"$cue" check "$dir/missing.txt" 2>/dev/null
check '[ $? -eq 3 ]' "check of an unreadable file: exit 3"
exit $fail
