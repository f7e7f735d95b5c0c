#!/usr/bin/env bash
# Run by under_x.sh (an X server of its own): with a window manager (openbox) on a 1920 x 1080
# screen, at scales 1 and 2: once framed, the panel, the cue window and the
# Unit output window lie inside the screen, title bars included; at 1x the
# cue window stands beside the panel; a second start puts the windows where
# the first left them.
set -u
panel="$1"
for tool in openbox xdotool xprop xwininfo; do
  command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed (scripts/setup installs it)"; exit 77; }
done
dir=$(mktemp -d)
pids=()
trap 'for p in "${pids[@]}"; do kill -KILL "$p" 2>/dev/null; done; wait 2>/dev/null; rm -rf "$dir"' EXIT
fail=0
say() { echo "$*"; fail=1; }
openbox >/dev/null 2>&1 &
pids+=($!)
sleep 1

# The outer rectangle of the window named like $1: "X Y W H", frame included.
outer() {
  local id x y w h l r t b
  id=$(xdotool search --onlyvisible --name "$1" | head -n 1)
  [ -n "$id" ] || return 1
  x=$(xwininfo -id "$id" | awk '/Absolute upper-left X/ { print $4 }')
  y=$(xwininfo -id "$id" | awk '/Absolute upper-left Y/ { print $4 }')
  w=$(xwininfo -id "$id" | awk '/^ *Width/ { print $2 }')
  h=$(xwininfo -id "$id" | awk '/^ *Height/ { print $2 }')
  read -r l r t b < <(xprop -id "$id" _NET_FRAME_EXTENTS | sed 's/.*= //; s/,//g')
  echo "$((x - ${l:-0})) $((y - ${t:-0})) $((w + ${l:-0} + ${r:-0})) $((h + ${t:-0} + ${b:-0}))"
}
inside() { # NAME X Y W H (physical pixels)
  [ "$2" -ge 0 ] && [ "$3" -ge 0 ] && [ $(($2 + $4)) -le 1920 ] && [ $(($3 + $5)) -le 1080 ] \
    || say "scale $scale: $1 at $2,$3 ${4}x$5 is not inside the 1920 x 1080 screen"
}

# The process has ended (a child that ended stays a zombie until waited for).
gone() { ! kill -0 "$1" 2>/dev/null || [ "$(awk '{ print $3 }' "/proc/$1/stat" 2>/dev/null)" = Z ]; }
# Presses KEYS in the panel until COMMAND... holds (a key pressed while the
# window manager is still handing the focus over can be lost: pressed again).
press() {
  local keys="$1"
  shift
  local id
  id=$(xdotool search --onlyvisible --name "RZ48 version" | head -n 1)
  for _ in 1 2 3; do
    xdotool windowactivate --sync "$id" >/dev/null 2>&1
    for _ in $(seq 20); do [ "$(xdotool getactivewindow 2>/dev/null)" = "$id" ] && break; sleep 0.1; done
    # Each modifier held down on its own, so that none is lost on the way.
    local mods=() key="${keys##*+}"
    IFS=+ read -r -a mods <<<"${keys%+*}"
    for m in "${mods[@]}"; do xdotool keydown "$m"; sleep 0.05; done
    xdotool key "$key"
    sleep 0.05
    for m in "${mods[@]}"; do xdotool keyup "$m"; done
    for _ in $(seq 50); do "$@" >/dev/null && return 0; sleep 0.1; done
  done
  return 1
}

start() { # SCALE HOME
  XDG_CONFIG_HOME="$2" XDG_DATA_HOME="$2" XDG_RUNTIME_DIR="$dir/run" QT_SCALE_FACTOR="$1" QT_QPA_PLATFORM=xcb \
    "$panel" --simulate >"$dir/log-$1" 2>&1 &
  pid=$!
  pids+=($pid)
  for _ in $(seq 150); do outer "Cue list" >/dev/null && outer "RZ48 version" >/dev/null && break; sleep 0.1; done
  sleep 1.5 # framed and fitted
}

mkdir -p "$dir/run"
chmod 700 "$dir/run"
for scale in 1 2; do
  home="$dir/home-$scale"
  mkdir -p "$home"
  start "$scale" "$home"
  read -r px py pw ph < <(outer "RZ48 version") || { say "scale $scale: no panel window: $(cat "$dir/log-$scale")"; continue; }
  read -r cx cy cw ch < <(outer "Cue list") || { say "scale $scale: no cue window"; continue; }
  inside panel "$px" "$py" "$pw" "$ph"
  inside "cue window" "$cx" "$cy" "$cw" "$ch"
  if [ "$scale" = 1 ] && [ "$cx" -lt $((px + pw)) ] && [ $((cx + cw)) -gt "$px" ]; then
    say "scale 1: the cue window ($cx,$cy ${cw}x$ch) covers the panel ($px,$py ${pw}x$ph)"
  fi
  press ctrl+shift+o outer "Unit output"
  sleep 1
  if read -r ox oy ow oh < <(outer "Unit output"); then
    inside "Unit output" "$ox" "$oy" "$ow" "$oh"
  else
    say "scale $scale: Ctrl+Shift+O opened no Unit output window (windows: $(xdotool search --name . getwindowname %@ 2>/dev/null | tr "\n" ";"))"
  fi
  # Moved by the operator, the cue window is there again at the next start.
  xdotool search --onlyvisible --name "Cue list" windowmove --relative -- -20 0 >/dev/null 2>&1
  sleep 0.5
  read -r mx my mw mh < <(outer "Cue list")
  press ctrl+q gone "$pid" || say "scale $scale: Ctrl+Q did not quit (windows: $(xdotool search --onlyvisible --name . getwindowname %@ 2>/dev/null | tr "\n" ";"); $(tail -n 3 "$dir/log-$scale"))"
  start "$scale" "$home"
  read -r ax ay aw ah < <(outer "Cue list")
  # Where it was left, or (when it was left sticking out of the screen) moved just inside.
  if [ $((my + mh)) -le 1080 ]; then
    [ "${ax:-x}" = "$mx" ] && [ "${ay:-y}" = "$my" ] || say "scale $scale: the cue window left at $mx,$my came back at ${ax:-?},${ay:-?}"
  else
    [ "${ax:-x}" = "$mx" ] && [ $((${ay:-9999} + ${ah:-0})) -le 1080 ] || say "scale $scale: the cue window left at $mx,$my (sticking out) came back at ${ax:-?},${ay:-?}"
  fi
  kill -KILL "$pid" 2>/dev/null
  wait "$pid" 2>/dev/null
done
exit $fail
