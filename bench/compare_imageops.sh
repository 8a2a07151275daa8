#!/usr/bin/env bash
# Image operations on a 24-megapixel photograph, through Quivel
# (build/bench_imageops) and through the tools a user would otherwise pick:
# ImageMagick's convert for each operation and djpeg's own colour quantiser.
#
# Usage: bench/compare_imageops.sh [runs]   (default 3; the best run counts)
#
# The photograph is made once (fractal plasma, slightly blurred, saved as
# JPEG) and kept in build/bench-data/. Quivel's times are of the operation
# alone on pixels in memory; convert also reads and writes a PPM, so its
# times are shown whole and less its bare read and write ("net"). djpeg's
# quantiser is its -colors 256 decode less its plain decode. Ratios above 1
# mean Quivel is faster.
set -uo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
runs=${1:-3}
bench="$top/build/bench_imageops"
data="$top/build/bench-data"
mkdir -p "$data"

if [[ ! -x "$bench" ]]; then
  echo "build/bench_imageops is missing: build with scripts/build.sh bench_imageops" >&2
  exit 1
fi
magick=""
for candidate in magick convert-im6.q16 convert; do
  if command -v "$candidate" >/dev/null; then magick=$(command -v "$candidate"); break; fi
done
djpeg=$(command -v djpeg || true)

photo_jpg="$data/photo-6000x4000.jpg"
photo_ppm="$data/photo-6000x4000.ppm"
if [[ ! -s "$photo_ppm" ]]; then
  if [[ -z "$magick" || -z "$djpeg" ]]; then
    echo "Making the photograph needs ImageMagick and djpeg (scripts/ensure-deps.sh bench)" >&2
    exit 1
  fi
  echo "Making the photograph (once; about half a minute)..."
  "$magick" -seed 7 -size 6000x4000 plasma:fractal -blur 0x1.2 -quality 92 "$photo_jpg" || exit 1
  "$djpeg" -pnm -outfile "$photo_ppm" "$photo_jpg" || exit 1
fi

source "$top/bench/common.sh"
need_gnu_time compare_imageops.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Best wall and processor time in ms and peak memory in MiB of a command:
# "wall cpu mib"; zeros when it fails.
measure() {
  local wall cpu kib
  read -r wall cpu kib < <(best_of "$@")
  if [[ $wall == failed ]]; then echo "0 0 0"; else echo "$wall $cpu $((kib / 1024))"; fi
}

# Quivel: best real and processor time of one benchmark (ms), and the
# benchmark process's peak memory: "wall cpu mib".
quivel_time() {
  local name=$1 csv stats peak
  csv=$(mktemp)
  stats=$(mktemp)
  QUIVEL_BENCH_PHOTO="$photo_ppm" /usr/bin/time -o "$stats" -f "%M" "$bench" --benchmark_filter="^$name/" \
    --benchmark_repetitions="$runs" --benchmark_format=csv >"$csv" 2>/dev/null
  peak=$(tail -1 "$stats")
  awk -F, -v n="\"$name/real_time\"" -v mib=$((peak / 1024)) '
    $1 == n { if (wall == "" || $3 < wall) wall = $3; if (cpu == "" || $4 < cpu) cpu = $4 }
    END { printf "%d %d %d\n", wall, cpu, mib }' "$csv"
  rm -f "$csv" "$stats"
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0 && a > 0) printf "%.1fx", a / b; else printf "-" }'; }

out="$data/out.ppm"
echo
echo "Photograph: 6000 x 4000, best of $runs runs; times in ms as wall (processor), memory in MiB"
if [[ -n "$magick" ]]; then
  read -r base base_cpu _ < <(measure "$magick" "$photo_ppm" "$out")
  echo "ImageMagick reading and writing the PPM alone: $base ($base_cpu) ($magick)"
else
  echo "ImageMagick not found: its columns are skipped"
fi
printf '\n%-11s %14s %5s %16s %14s %5s %11s %8s\n' task quivel MiB convert "convert net" MiB "vs convert" "vs net"
for task in "monochrome:-monochrome" "grey:-colorspace gray" "colors256:-colors 256" "flop:-flop" \
            "rotate90:-rotate 90" "resizeHalf:-resize 50%"; do
  name=${task%%:*}
  read -r -a args <<<"${task#*:}"
  read -r ours ours_cpu ours_mem < <(quivel_time "$name")
  if [[ -n "$magick" ]]; then
    read -r theirs theirs_cpu theirs_mem < <(measure "$magick" "$photo_ppm" "${args[@]}" "$out")
    net=$((theirs - base))
    net_cpu=$((theirs_cpu - base_cpu))
    printf '%-11s %14s %5s %16s %14s %5s %11s %8s\n' "$name" "$ours ($ours_cpu)" "$ours_mem" \
      "$theirs ($theirs_cpu)" "$net ($net_cpu)" "$theirs_mem" "$(ratio "$theirs" "$ours")" "$(ratio "$net" "$ours")"
  else
    printf '%-11s %14s %5s\n' "$name" "$ours ($ours_cpu)" "$ours_mem"
  fi
done

echo
if [[ -n "$djpeg" && -s "$photo_jpg" ]]; then
  read -r plain plain_cpu _ < <(measure "$djpeg" -bmp -outfile /dev/null "$photo_jpg")
  read -r quant quant_cpu quant_mem < <(measure "$djpeg" -colors 256 -bmp -outfile /dev/null "$photo_jpg")
  read -r ours ours_cpu _ < <(quivel_time colors256)
  net=$((quant - plain))
  net_cpu=$((quant_cpu - plain_cpu))
  echo "djpeg -colors 256: $quant ($quant_cpu), $quant_mem MiB; plain decode $plain ($plain_cpu);" \
    "its quantiser $net ($net_cpu)"
  echo "Quivel's 256 colours: $ours ($ours_cpu); Quivel / djpeg's quantiser:" \
    "$(awk -v a="$ours" -v b="$net" 'BEGIN { printf "%.2f", a / b }') wall," \
    "$(awk -v a="$ours_cpu" -v b="$net_cpu" 'BEGIN { printf "%.2f", a / b }') processor"
else
  echo "djpeg not found (or no JPEG photograph): the quantiser comparison is skipped"
fi
rm -f "$out"
