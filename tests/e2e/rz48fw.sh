#!/usr/bin/env bash
# rz48fw check: what it prints and its exit status for a good file, a
# refused one and an unreadable one of each kind.
set -u
fw="$1"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
fail=0
check() { # status, stdout, stderr (a pattern), file
  local want="$1" said="$2" warned="$3" file="$4"
  "$fw" check "$file" >"$dir/out" 2>"$dir/err"; local got=$?
  [ "$got" -eq "$want" ] || { echo "$(basename "$file"): exit $got, not $want"; fail=1; }
  [ "$(cat "$dir/out")" = "$said" ] || { echo "$(basename "$file"): printed '$(cat "$dir/out")', not '$said'"; fail=1; }
  if [ -z "$warned" ]; then
    [ ! -s "$dir/err" ] || { echo "$(basename "$file"): printed on standard error: $(cat "$dir/err")"; fail=1; }
  else
    grep -q -- "$warned" "$dir/err" || { echo "$(basename "$file"): standard error '$(cat "$dir/err")' lacks '$warned'"; fail=1; }
  fi
}
# Header, one byte below the area that is sent (a warning), two bytes at 0x8000, end.
printf 'S0030000FC\r\nS1047FF0AAE2\r\nS1058000010277\r\nS9030000FC\r\n' >"$dir/good.s19"
check 0 "ok: 4 records, data from 0x7FF0 to 0x8001" "^rz48fw: warning: line 2: S1 data at 0x7FF0 to 0x7FF0 lies below 0x8000" "$dir/good.s19"
printf 'S0030000FC\nS1058000010278\nS9030000FC\n' >"$dir/BAD.S19"
check 1 "2: bad checksum 0x78 (the record's bytes give 0x77)" "" "$dir/BAD.S19"
printf ':020000040001F9\n:0400000001020304F2\n:00000001FF\n' >"$dir/good.mcs"
check 0 "ok: 3 records, data from 0x10000 to 0x10003" "" "$dir/good.mcs"
printf ':020000040000FA\r:0400000001020304F2\r:00000001FF\r' >"$dir/cr-only.mcs"
check 1 "1: a CR inside the line at column 16 (lines must end with LF)" "" "$dir/cr-only.mcs"
check 3 "" "^rz48fw: cannot read .*missing.mcs" "$dir/missing.mcs"
# A header's text is never data: data at 0x0000 is the program's own.
printf 'S00D0000727A34382076332E33323E\nS1058000010277\nS9030000FC\n' >"$dir/header.s19"
check 0 "ok: 3 records, data from 0x8000 to 0x8001" "" "$dir/header.s19"
printf 'S00D0000727A34382076332E33323E\nS1050000AABB95\nS1058000010277\nS9030000FC\n' >"$dir/zero.s19"
check 0 "ok: 4 records, data from 0x0000 to 0x8001" "line 2: S1 data at 0x0000 to 0x0001 lies below 0x8000" "$dir/zero.s19"
# A device is not read: a link to /dev/zero is refused at once.
ln -s /dev/zero "$dir/zero.mcs"
timeout 10 "$fw" check "$dir/zero.mcs" >/dev/null 2>"$dir/err"; status=$?
[ $status -eq 3 ] && grep -q "not a regular file" "$dir/err" || { echo "a link to /dev/zero: exit $status: $(cat "$dir/err")"; fail=1; }
exit $fail
