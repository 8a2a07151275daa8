#!/usr/bin/env bash
# Times libzentar beside the tools a user would otherwise pick, on the same
# pictures: decode and encode of a 24-megapixel JPEG and PNG, and a folder's
# worth of thumbnail loads. Best of several runs; wall time and peak memory;
# the ratio of each tool's time to libzentar's.
#
# Usage: bench/compare.sh [BUILD_DIR] [RUNS]     (defaults: build, 5)
# The pictures are made at run time in a temporary folder. A tool that is not
# installed is skipped with a note.
set -uo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$top/build}
runs=${2:-5}
bench=$build/codec_bench
if [[ ! -x $bench ]]; then
  echo "compare.sh: $bench is missing; build the benchmarks first" >&2
  exit 1
fi
if [[ ! -x /usr/bin/time ]]; then
  echo "compare.sh: GNU time (/usr/bin/time) is needed for peak memory" >&2
  exit 1
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

have() { command -v "$1" >/dev/null 2>&1; }

# best_of COMMAND...: prints "<best wall ms> <peak KiB>" over $runs runs.
best_of() {
  local best="" peak=0 i start end ms kib
  for ((i = 0; i < runs; i++)); do
    start=$(date +%s%N)
    if ! /usr/bin/time -f '%M' -o "$work/mem" "$@" >/dev/null 2>"$work/err"; then
      echo "failed"
      return 1
    fi
    end=$(date +%s%N)
    ms=$(((end - start) / 1000000))
    kib=$(tail -n 1 "$work/mem")
    if [[ -z $best || $ms -lt $best ]]; then best=$ms; fi
    if ((kib > peak)); then peak=$kib; fi
  done
  echo "$best $peak"
}

# row TASK TOOL COMMAND...: times the command and prints a row. The first
# libzentar row after reference=0 is the reference of the ratios that follow.
reference=0
row() {
  local task=$1 tool=$2
  shift 2
  local result
  result=$(best_of "$@") || { printf '%-28s %-26s %s\n' "$task" "$tool" "failed: $(head -c 200 "$work/err")"; return; }
  read -r ms kib <<<"$result"
  if [[ $tool == libzentar* ]] && ((reference == 0)); then reference=$ms; fi
  local ratio="-"
  if ((reference > 0)); then ratio=$(awk -v a="$ms" -v b="$reference" 'BEGIN { printf "%.2f", a / b }'); fi
  printf '%-28s %-26s %8d ms %8.1f MiB %8s\n' "$task" "$tool" "$ms" "$(awk -v k="$kib" 'BEGIN { print k / 1024 }')" "$ratio"
}

skip() { printf '%-28s %-26s skipped: %s is not installed\n' "$1" "$2" "$2"; }

echo "Making the pictures (6000 x 4000 and 2048 x 1536) in $work ..."
"$bench" --task make-photo "$work/photo.ppm" 6000 4000 || exit 1
"$bench" --task encode jpeg "$work/photo.ppm" "$work/photo.jpg" 90 || exit 1
"$bench" --task encode png "$work/photo.ppm" "$work/photo.png" || exit 1
"$bench" --task make-camera "$work/camera.jpg" 2048 1536 || exit 1
"$bench" --task make-camera "$work/camera-exif.jpg" 2048 1536 exif || exit 1

echo
printf '%-28s %-26s %11s %12s %8s\n' "task" "tool" "best wall" "peak memory" "ratio"

reference=0
row "JPEG decode 24 Mpx" "libzentar" "$bench" --task decode "$work/photo.jpg"
if have djpeg; then row "JPEG decode 24 Mpx" "djpeg" djpeg -outfile /dev/null "$work/photo.jpg"; else skip "JPEG decode 24 Mpx" djpeg; fi
if have convert; then row "JPEG decode 24 Mpx" "convert" convert "$work/photo.jpg" null:; else skip "JPEG decode 24 Mpx" convert; fi

reference=0
row "JPEG encode 24 Mpx q90" "libzentar (reads PPM)" "$bench" --task encode jpeg "$work/photo.ppm" "$work/out.jpg" 90
if have cjpeg; then row "JPEG encode 24 Mpx q90" "cjpeg" cjpeg -quality 90 -outfile "$work/out.jpg" "$work/photo.ppm"; else skip "JPEG encode 24 Mpx q90" cjpeg; fi
if have convert; then row "JPEG encode 24 Mpx q90" "convert" convert "$work/photo.ppm" -quality 90 "$work/out.jpg"; else skip "JPEG encode 24 Mpx q90" convert; fi

reference=0
row "PNG decode 24 Mpx" "libzentar" "$bench" --task decode "$work/photo.png"
if have convert; then row "PNG decode 24 Mpx" "convert" convert "$work/photo.png" null:; else skip "PNG decode 24 Mpx" convert; fi

reference=0
row "PNG encode 24 Mpx level 6" "libzentar (reads PPM)" "$bench" --task encode png "$work/photo.ppm" "$work/out.png"
if have convert; then
  row "PNG encode 24 Mpx level 6" "convert" convert "$work/photo.ppm" -define png:compression-level=6 "$work/out.png"
else skip "PNG encode 24 Mpx level 6" convert; fi

# A folder of 1,000 camera files: one process loads them all, as the
# browser does; the other tools need one process per file. First reduced
# loads against full loads (the ratio is the reduced load's share of a full
# one), then reduced loads beside the other tools.
reference=0
row "1000 full loads" "libzentar" "$bench" --task thumbnails "$work/camera.jpg" 1000 full
row "1000 reduced, DCT 1/8" "libzentar" "$bench" --task thumbnails "$work/camera.jpg" 1000
row "1000 reduced, EXIF thumb" "libzentar" "$bench" --task thumbnails "$work/camera-exif.jpg" 1000
reference=0
row "1000 reduced, DCT 1/8" "libzentar" "$bench" --task thumbnails "$work/camera.jpg" 1000
if have djpeg; then
  row "1000 reduced, DCT 1/8" "djpeg -scale 1/8" bash -c 'for i in $(seq 1000); do djpeg -scale 1/8 -outfile /dev/null "$0" || exit 1; done' "$work/camera.jpg"
else skip "1000 reduced, DCT 1/8" djpeg; fi
if have vipsthumbnail; then
  row "1000 reduced, DCT 1/8" "vipsthumbnail" bash -c 'for i in $(seq 1000); do vipsthumbnail "$0" -s 160x120 -o "$1/thumb.jpg" || exit 1; done' "$work/camera.jpg" "$work"
else skip "1000 reduced, DCT 1/8" vipsthumbnail; fi
