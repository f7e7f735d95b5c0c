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

# Nothing written is lost: a full disk keeps the old file and exits 1 with
# the system's reason; the output is never the input, not even through a
# link; a device is not read.
for i in $(seq 60); do printf 'C%d\t10:%02d:00:00\tline %d\n' "$i" "$i" "$i"; done >"$dir/long.txt"
echo "old sheet" >"$dir/existing.txt"
( ulimit -f 0; trap '' XFSZ; exec "$cue" convert "$dir/long.txt" "$dir/existing.txt" ) 2>&1 | cat >"$dir/err"
status=${PIPESTATUS[0]}
check '[ $status -eq 1 ] && ! grep -q "cues written" "$dir/err"' "full disk: exit 1, no success reported"
check 'grep -q "cannot write .*existing.txt: File too large" "$dir/err"' "full disk: the reason"
check '[ "$(cat "$dir/existing.txt")" = "old sheet" ]' "full disk: the old file is kept"
check '[ -z "$(ls -A "$dir" | grep "^\.existing")" ]' "full disk: no temporary file left"
cp "$dir/long.txt" "$dir/same.txt"
"$cue" convert "$dir/same.txt" "$dir/same.txt" 2>"$dir/err"
check '[ $? -eq 2 ] && cmp -s "$dir/same.txt" "$dir/long.txt"' "output onto input: refused, input unchanged"
ln -s same.txt "$dir/link.txt"
"$cue" convert "$dir/same.txt" "$dir/link.txt" 2>/dev/null
check '[ $? -eq 2 ] && cmp -s "$dir/same.txt" "$dir/long.txt"' "output onto input through a link: refused"
ln -s /dev/zero "$dir/zero.mid"
timeout 10 "$cue" dump "$dir/zero.mid" >/dev/null 2>"$dir/err"
check '[ $? -eq 1 ] && grep -q "not a regular file" "$dir/err"' "dump of a link to /dev/zero: refused"
for bad in nan inf 1e308; do
  "$cue" convert "$dir/in.txt" "$dir/x.mid" --offset $bad 2>/dev/null
  check '[ $? -eq 2 ] && [ ! -e "$dir/x.mid" ]' "--offset $bad is a usage error"
done
printf 'A\0 10:00:01:00 after a NUL\n' >"$dir/nul.txt"
"$cue" convert "$dir/nul.txt" "$dir/nul-out.txt" >"$dir/log" 2>&1
check 'grep -q "^1 cues written" "$dir/log" && grep -q "after a NUL" "$dir/nul-out.txt"' "a NUL before a time keeps the cue"

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
;start	10:00:00:00
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
;start	10:00:00:00
A	10:00:01:00
B	10:00:01:10
' >"$dir/warn.txt"
"$cue" check "$dir/warn.txt" --offset 2 >/dev/null
check '[ $? -eq 0 ]' "warnings only: exit 0"
"$cue" check "$dir/warn.txt" --offset 2 --strict >/dev/null
check '[ $? -eq 1 ]' "warnings with --strict: exit 1"
"$cue" check "$dir/missing.txt" 2>/dev/null
check '[ $? -eq 3 ]' "check of an unreadable file: exit 3"
# The MIDI start against the first cue, dropped drop-frame labels, option
# lines that do not read.
printf ';tctype	2
;start	10:00:00:00
A	09:50:00;00
B	10:01:00;00
C	10:01:00:01
' >"$dir/start.txt"
"$cue" check "$dir/start.txt" >"$dir/out"
check '[ $? -eq 1 ]' "a cue before the start: exit 1"
check 'grep -qx "1: error: In 09:50:00:00 is before the MIDI start 10:00:00:00: the MIDI track fires it at a wrong time" "$dir/out"' "a cue before the start"
check 'grep -qx "2: error: In time \"10:01:00:00\" is not a time at 30 fps" "$dir/out"' "a dropped label with ;"
check 'grep -qx "3: error: In time \"10:01:00:01\" is not a time at 30 fps" "$dir/out"' "a dropped label with :"
check '! grep -q "same In time" "$dir/out"' "dropped labels are not the same time"
printf ';tctype	1
;start	01:00:00:00
A	05:00:00:00
' >"$dir/far.txt"
"$cue" check "$dir/far.txt" >"$dir/out"
check '[ $? -eq 1 ] && grep -q "^1: error: In 05:00:00:00 is more than a MIDI delta holds" "$dir/out"' "a first cue too far after the start"
printf ';start	banana
;tctype	abc
A	00:00:01:00
' >"$dir/options.txt"
"$cue" check "$dir/options.txt" >"$dir/out"
check 'grep -qx "0: warning: option line \";start banana\": not a timecode HH:MM:SS:FF, the MIDI start reads it as it stands" "$dir/out"' "an unread ;start"
check 'grep -qx "0: warning: option line \";tctype abc\": not a number, read as timecode type 0" "$dir/out"' "an unread ;tctype"
exit $fail
