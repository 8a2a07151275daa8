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
if [[ ! -x /usr/bin/time ]]; then
  echo "compare_newer_codecs.sh: GNU time (/usr/bin/time) is needed for peak memory" >&2
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

# row TASK TOOL COMMAND...: times the command and prints a row; the first
# row after reference=0 is the reference of the ratios that follow.
reference=0
row() {
  local task=$1 tool=$2
  shift 2
  local result
  result=$(best_of "$@") || { printf '%-30s %-22s %s\n' "$task" "$tool" "failed: $(head -c 200 "$work/err")"; return; }
  read -r ms kib <<<"$result"
  if ((reference == 0)); then reference=$ms; fi
  local ratio="-"
  if ((reference > 0)); then ratio=$(awk -v a="$ms" -v b="$reference" 'BEGIN { printf "%.2f", a / b }'); fi
  printf '%-30s %-22s %8d ms %8.1f MiB %8s\n' "$task" "$tool" "$ms" "$(awk -v k="$kib" 'BEGIN { print k / 1024 }')" "$ratio"
}

skip() { printf '%-30s %-22s skipped: %s is not installed\n' "$1" "$2" "$2"; }

echo "Making the pictures (4000 x 3000; a 4000 x 3000 DNG with a 1024 x 768 preview) in $work ..."
"$bench" --task make-photo "$work/photo.ppm" 4000 3000 || exit 1
for format in webp avif jxl; do
  "$bench" --task encode "$format" "$work/photo.ppm" "$work/photo.$format" 90 || exit 1
done
"$makeDng" "$work/camera.dng" 4000 3000 1024 768 || exit 1

echo
printf '%-30s %-22s %11s %12s %8s\n' "task" "tool" "best wall" "peak memory" "ratio"

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
