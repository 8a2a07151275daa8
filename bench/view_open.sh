#!/usr/bin/env bash
# Times opening a 24-megapixel JPEG in a view fitted to its window, up to the
# first full paint, on a private Xvfb with a window manager: the view reports
# with -v when its first paint has reached the server ("view: ... shown in N
# ms", counted from the moment the view is asked for); the wall time from the
# program's start to that line is measured here too. Best of several runs.
#
# Usage: bench/view_open.sh [BUILD_DIR] [RUNS] [DEPTH]   (defaults: build, 5, 24)
# The picture is made at run time (ImageMagick's convert); without it the
# script stops with a note.
set -uo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$top/build}
runs=${2:-5}
depth=${3:-24}
quivel=$build/quivel
[[ -x $quivel ]] || { echo "view_open.sh: $quivel is missing; build it first" >&2; exit 1; }
command -v convert >/dev/null || { echo "view_open.sh: convert is not installed: no picture to open" >&2; exit 1; }
work=$(mktemp -d)
xvfb=""; wm=""
cleanup() {
  [[ -n $wm ]] && kill "$wm" 2>/dev/null
  [[ -n $xvfb ]] && kill "$xvfb" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT

convert -size 6000x4000 plasma:fractal -blur 0x1 -quality 90 "$work/photo.jpg"
printf 'View.Fit = 3\n' >"$work/quivel.rc"

exec 3<> "$work/displayfd"
Xvfb -displayfd 1 -screen 0 1280x1024x"$depth" -nolisten tcp >"$work/display" 2>/dev/null &
xvfb=$!
for _ in $(seq 100); do [[ -s $work/display ]] && break; sleep 0.05; done
export DISPLAY=":$(head -n 1 "$work/display")"
if command -v mwm >/dev/null; then mwm >/dev/null 2>&1 & wm=$!; sleep 0.5; fi

best_view=""; best_wall=""
for ((i = 0; i < runs; i++)); do
  start=$(date +%s%N)
  HOME=$work "$quivel" -v -ini "$work/quivel.rc" "$work/photo.jpg" >/dev/null 2>"$work/err" &
  pid=$!
  for _ in $(seq 400); do grep -q ' shown in ' "$work/err" && break; sleep 0.005; done
  end=$(date +%s%N)
  kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null
  view=$(sed -n 's/^view: .* shown in \([0-9]*\) ms$/\1/p' "$work/err")
  [[ -z $view ]] && { echo "run $i: no paint reported"; cat "$work/err"; continue; }
  wall=$(((end - start) / 1000000))
  echo "run $i: view $view ms, from start $wall ms"
  [[ -z $best_view || $view -lt $best_view ]] && best_view=$view
  [[ -z $best_wall || $wall -lt $best_wall ]] && best_wall=$wall
done
echo "24-megapixel JPEG, fitted view, first full paint at depth $depth: best $best_view ms (view), $best_wall ms from program start"
