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
source "$top/bench/common.sh"
need_gnu_time compare.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

task_width=28 tool_width=26
reference_tool="libzentar*"

echo "Making the pictures (6000 x 4000 and 2048 x 1536) in $work ..."
"$bench" --task make-photo "$work/photo.ppm" 6000 4000 || exit 1
"$bench" --task encode jpeg "$work/photo.ppm" "$work/photo.jpg" 90 || exit 1
"$bench" --task encode png "$work/photo.ppm" "$work/photo.png" || exit 1
"$bench" --task make-camera "$work/camera.jpg" 2048 1536 || exit 1
"$bench" --task make-camera "$work/camera-exif.jpg" 2048 1536 exif || exit 1

echo
heading

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
