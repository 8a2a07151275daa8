#!/usr/bin/env bash
# Times libzentar's WebP, AVIF and JPEG XL decoders beside the libraries' own
# command-line decoders (dwebp, heif-convert, djxl) on one 12-megapixel
# picture, and camera raw loads: the embedded preview that a reduced load
# takes, beside a full development. Best of several runs; wall time and
# peak memory; the ratio of each row's time to the first of its group.
#
# Usage: bench/compare_newer_codecs.sh [BUILD_DIR] [RUNS]   (defaults: build, 5)
# The pictures are made at run time in a temporary folder, encoded by
# libzentar at quality 90. A tool that is not installed is skipped with a note.
# heif-convert has to write its picture somewhere: it writes raw YUV (.y4m),
# the cheapest output it has; dwebp writes a PPM; djxl without an output
# name only decodes.
set -uo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$top/build}
runs=${2:-5}
bench=$build/codec_bench
makeDng=$build/make_dng
for program in "$bench" "$makeDng"; do
  if [[ ! -x $program ]]; then
    echo "compare_newer_codecs.sh: $program is missing; build codec_bench and make_dng first" >&2
    exit 1
  fi
done
source "$top/bench/common.sh"
need_gnu_time compare_newer_codecs.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

task_width=30 tool_width=22

echo "Making the pictures (4000 x 3000; a 4000 x 3000 DNG with a 1024 x 768 preview) in $work ..."
"$bench" --task make-photo "$work/photo.ppm" 4000 3000 || exit 1
for format in webp avif jxl; do
  "$bench" --task encode "$format" "$work/photo.ppm" "$work/photo.$format" 90 || exit 1
done
"$makeDng" "$work/camera.dng" 4000 3000 1024 768 || exit 1

echo
heading

reference=0
row "WebP decode 12 Mpx" "libzentar" "$bench" --task decode "$work/photo.webp"
if have dwebp; then row "WebP decode 12 Mpx" "dwebp" dwebp "$work/photo.webp" -ppm -o "$work/out.ppm"; else skip "WebP decode 12 Mpx" dwebp; fi

reference=0
row "AVIF decode 12 Mpx" "libzentar" "$bench" --task decode "$work/photo.avif"
if have heif-convert; then row "AVIF decode 12 Mpx" "heif-convert" heif-convert "$work/photo.avif" "$work/out.y4m"; else skip "AVIF decode 12 Mpx" heif-convert; fi

reference=0
row "JPEG XL decode 12 Mpx" "libzentar" "$bench" --task decode "$work/photo.jxl"
if have djxl; then row "JPEG XL decode 12 Mpx" "djxl" djxl "$work/photo.jxl"; else skip "JPEG XL decode 12 Mpx" djxl; fi

# Camera raw: 100 reduced loads (160 x 120, from the preview) in one process,
# as the browser makes thumbnails, beside single full developments.
reference=0
row "camera raw, 1 full load" "libzentar" "$bench" --task thumbnails "$work/camera.dng" 1 full
row "camera raw, 100 previews" "libzentar" "$bench" --task thumbnails "$work/camera.dng" 100
