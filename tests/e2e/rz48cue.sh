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

# The list's own file: a sheet becomes one; its fields survive a trip
# through a printed PDF exactly; a sheet made from it names what it drops.
"$cue" convert "$dir/in.txt" "$dir/list.rz48cues" >/dev/null 2>&1
check '[ $? -eq 0 ] && grep -q "\"format\": \"rz48-cues\"" "$dir/list.rz48cues"' "sheet to the list's own file"
sed 's/"character": ""/"character": "PETER"/; s/"status": "todo"/"status": "done"/' "$dir/list.rz48cues" >"$dir/peter.rz48cues"
"$cue" list "$dir/peter.rz48cues" >"$dir/out"
check '[ "$(head -1 "$dir/out")" = "$(printf "1\t10:00:01:00\t\tPETER\tdone\tA1\tHello")" ]' "list: a line per cue"
"$cue" convert "$dir/peter.rz48cues" "$dir/sheet.pdf" --by-character >/dev/null 2>"$dir/err"
check '[ $? -eq 0 ] && [ "$(head -c 4 "$dir/sheet.pdf")" = "%PDF" ]' "a printable PDF: $(cat "$dir/err")"
"$cue" convert "$dir/sheet.pdf" "$dir/back.rz48cues" >/dev/null 2>&1
check 'cmp -s "$dir/back.rz48cues" "$dir/peter.rz48cues"' "the PDF gives back the list exactly"
"$cue" convert "$dir/peter.rz48cues" "$dir/peter.txt" >/dev/null 2>"$dir/err"
check '[ $? -eq 0 ] && grep -qx "rz48cue: the sheet leaves out the list'"'"'s character, status" "$dir/err"' "a sheet names what it drops"
"$cue" convert "$dir/in.txt" "$dir/x.pdf" --paper legal 2>/dev/null
check '[ $? -eq 2 ]' "--paper legal is a usage error"

# Cues from where they live: a DAW's session text (a marker, a clip on a
# character's track, a line it cannot read), moved by --shift, and round
# trips through MIDI markers, an EDL of locators and a spreadsheet.
printf 'SESSION NAME:\tReel 1\nSAMPLE RATE:\t48000.000000\nSESSION START TIMECODE:\t00:59:58:00\nTIMECODE FORMAT:\t25 Frame\n\nM A R K E R S  L I S T I N G\n#   \tLOCATION     \tTIME REFERENCE    \tUNITS    \tNAME                 \tCOMMENTS\n1   \t01:00:02:00  \t192000            \tSamples  \tHello there [noise]  \ttake 2\n2   \tgarbage      \tx                 \tSamples  \tBroken               \t\n\nT R A C K  L I S T I N G\nTRACK NAME:\tPETER\nCHANNEL \tEVENT   \tCLIP NAME          \tSTART TIME    \tEND TIME      \tDURATION      \tSTATE\n1       \t1       \tWe leave at dawn   \t01:00:05:00   \t01:00:07:10   \t00:00:02:10   \tUnmuted\n' >"$dir/session.txt"
"$cue" convert "$dir/session.txt" "$dir/session.rz48cues" >"$dir/out" 2>"$dir/err"
check '[ $? -eq 0 ] && grep -qx "2 cues written to $dir/session.rz48cues; 1 line of $dir/session.txt could not be read" "$dir/out"' "session text: the summary counts the line not read"
check 'grep -q "^9: marker at \"garbage\"" "$dir/err"' "session text: the line not read, by number"
"$cue" list "$dir/session.rz48cues" >"$dir/out"
check '[ "$(cut -f2,3,4,7 "$dir/out")" = "$(printf "01:00:02:00\t\t\tHello there\n01:00:05:00\t01:00:07:10\tPETER\tWe leave at dawn")" ]' "session text: a marker and a clip"
check 'grep -q "\"reason\": \"noise\"" "$dir/session.rz48cues"' "session text: [...] is the reason"
"$cue" convert "$dir/session.txt" "$dir/shifted.rz48cues" --shift -00:59:00:00 >/dev/null 2>&1
"$cue" list "$dir/shifted.rz48cues" >"$dir/out"
check '[ "$(cut -f2 "$dir/out" | tr "\n" " ")" = "00:01:02:00 00:01:05:00 " ]' "--shift takes a time away"
for out in markers.mid locators.edl sheet.csv; do
  extra=; [ "$out" = markers.mid ] && extra=--markers
  "$cue" convert "$dir/session.rz48cues" "$dir/$out" $extra >/dev/null 2>&1
  "$cue" convert "$dir/$out" "$dir/back.rz48cues" --tctype 1 >/dev/null 2>&1
  "$cue" list "$dir/back.rz48cues" >"$dir/out"
  check '[ "$(cut -f2,4,7 "$dir/out")" = "$(printf "01:00:02:00\t\tHello there\n01:00:05:00\tPETER\tWe leave at dawn")" ]' "round trip through $out"
done
"$cue" convert "$dir/session.rz48cues" "$dir/peter.pdf" --character peter >"$dir/out" 2>/dev/null
check '[ $? -eq 0 ] && grep -q "^1 cues written" "$dir/out" && pdftotext "$dir/peter.pdf" - | grep -q "We leave at dawn" && ! pdftotext "$dir/peter.pdf" - | grep -q "Hello there"' "one character's printed sheet"
"$cue" convert "$dir/session.txt" "$dir/x.rz48cues" --format vhs 2>/dev/null
check '[ $? -eq 2 ]' "--format of no reader is a usage error"
"$cue" convert "$dir/session.txt" "$dir/x.rz48cues" --shift soon 2>/dev/null
check '[ $? -eq 2 ]' "--shift soon is a usage error"

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
printf ';tctype	1
;start	00:00:00:00
A	00:00:01:00
' >"$dir/zero.txt"
"$cue" check "$dir/zero.txt" >"$dir/out"
check '[ $? -eq 0 ] && [ "$(cat "$dir/out")" = "0 errors, 0 warnings in 1 cue" ]' "a MIDI start at 00:00:00:00 is a start"
printf ';start	banana
;tctype	abc
A	00:00:01:00
' >"$dir/options.txt"
"$cue" check "$dir/options.txt" >"$dir/out"
check 'grep -qx "0: warning: option line \";start banana\": not a timecode HH:MM:SS:FF, the MIDI start reads it as it stands" "$dir/out"' "an unread ;start"
check 'grep -qx "0: warning: option line \";tctype abc\": not a number, read as timecode type 0" "$dir/out"' "an unread ;tctype"
exit $fail
