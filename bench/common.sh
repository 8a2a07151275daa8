# The timing helpers of the comparison scripts, sourced by them.
#
# The sourcing script sets `runs` (how many runs a measurement takes, the
# best counting) and `work` (a temporary folder for the helpers' own files),
# and `task_width` and `tool_width` for the columns of `row`.

have() { command -v "$1" >/dev/null 2>&1; }

# need_gnu_time SCRIPT: stops the script when GNU time, which reports the
# peak memory, is missing.
need_gnu_time() {
  if [[ ! -x /usr/bin/time ]]; then
    echo "$1: GNU time (/usr/bin/time) is needed for peak memory" >&2
    exit 1
  fi
}

# best_of COMMAND...: prints "<best wall ms> <best processor ms> <peak KiB>"
# over $runs runs, processor time being user and system time together. A
# run that fails prints "failed" and returns 1; its errors are in
# $work/err.
best_of() {
  local best="" cpu="" peak=0 i start end ms used kib
  for ((i = 0; i < runs; i++)); do
    start=$(date +%s%N)
    if ! /usr/bin/time -f '%U %S %M' -o "$work/mem" "$@" >/dev/null 2>"$work/err"; then
      echo "failed"
      return 1
    fi
    end=$(date +%s%N)
    ms=$(((end - start) / 1000000))
    read -r used kib < <(tail -n 1 "$work/mem" | awk '{ printf "%d %d\n", ($1 + $2) * 1000, $3 }')
    if [[ -z $best || $ms -lt $best ]]; then best=$ms; fi
    if [[ -z $cpu || $used -lt $cpu ]]; then cpu=$used; fi
    if ((kib > peak)); then peak=$kib; fi
  done
  echo "$best $cpu $peak"
}

# row TASK TOOL COMMAND...: times the command and prints a row with the
# ratio of its time to the reference's. Set reference=0 before a group: the
# first row after it whose tool matches $reference_tool (a pattern; any
# tool when unset) becomes the reference.
reference=0
row() {
  local task=$1 tool=$2
  shift 2
  local result ms kib
  result=$(best_of "$@") || {
    printf "%-${task_width}s %-${tool_width}s %s\n" "$task" "$tool" "failed: $(head -c 200 "$work/err")"
    return
  }
  read -r ms _ kib <<<"$result"
  # shellcheck disable=SC2053
  if [[ $tool == ${reference_tool:-*} ]] && ((reference == 0)); then reference=$ms; fi
  local ratio="-"
  if ((reference > 0)); then ratio=$(awk -v a="$ms" -v b="$reference" 'BEGIN { printf "%.2f", a / b }'); fi
  printf "%-${task_width}s %-${tool_width}s %8d ms %8.1f MiB %8s\n" "$task" "$tool" "$ms" \
    "$(awk -v k="$kib" 'BEGIN { print k / 1024 }')" "$ratio"
}

# heading: the column titles of `row`.
heading() {
  printf "%-${task_width}s %-${tool_width}s %11s %12s %8s\n" "task" "tool" "best wall" "peak memory" "ratio"
}

skip() { printf "%-${task_width}s %-${tool_width}s skipped: %s is not installed\n" "$1" "$2" "$2"; }
