#!/usr/bin/env bash
# Runs every fuzz target of a fuzz build for a bounded time, seeded from
# fuzz/seeds/<target>/ when that folder exists. Usage: run-fuzzers.sh DIR SECONDS
set -uo pipefail
dir=$1
seconds=$2
top=$(cd "$(dirname "$0")/.." && pwd)
status=0
shopt -s nullglob
for target in "$dir"/fuzz_*; do
  [[ -x "$target" ]] || continue
  name=$(basename "$target")
  name=${name#fuzz_}
  corpus=$(mktemp -d)
  seeds=()
  [[ -d "$top/fuzz/seeds/$name" ]] && seeds+=("$top/fuzz/seeds/$name")
  printf '%-24s ' "$name"
  if "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -max_len=65536 \
       "$corpus" "${seeds[@]}" >"$corpus.log" 2>&1; then
    grep -o 'Done [0-9]* runs' "$corpus.log" | tail -n 1
  else
    echo "FAILED"
    tail -n 40 "$corpus.log"
    status=1
  fi
  rm -rf "$corpus" "$corpus.log"
done
exit $status
