#!/usr/bin/env bash
# Robustness run: every fuzzer of `make fuzz` (or the ones named) gets
# SECONDS of CPU time (default 60), one at a time under `nice -n 10`, since
# the machine is shared and wall time says nothing about the work done.
#
#   bash bench/fuzz.sh [SECONDS] [BUILD_DIR] [fuzz_name...]
#
# Each fuzzer starts from its seeds in tests/fuzz/corpus/<name>/, copied into
# a working corpus under BUILD_DIR/corpus/ that grows from run to run.
# libFuzzer's own limit is wall time, so a fuzzer is restarted with the CPU
# time it still has to use until it has used it all; whatever it finds is
# kept under BUILD_DIR/findings/<name>/ and the run goes on. With
# ZELVARO_FUZZ_UNTIL=HH:MM (UTC) nothing runs past that time and the table
# shows what each fuzzer actually got. Fails when anything was found.
set -uo pipefail
seconds=${1:-60}
build=${2:-build-fuzz}
shift $(($# > 2 ? 2 : $#))
root=$(cd "$(dirname "$0")/.." && pwd)
[[ -d "$build/fuzz" ]] || { echo "Run 'make fuzz' first." >&2; exit 1; }
until_epoch=
[[ -n "${ZELVARO_FUZZ_UNTIL:-}" ]] && until_epoch=$(date -u -d "$ZELVARO_FUZZ_UNTIL" +%s)
export LSAN_OPTIONS="suppressions=$root/packaging/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
# A fuzzer that keeps hitting the same fault only repeats itself.
max_findings=5

fuzzers=()
if (($#)); then
  for name in "$@"; do fuzzers+=("$build/fuzz/$name"); done
else
  fuzzers=("$build"/fuzz/fuzz_*)
fi

# One bounded libFuzzer run; its CPU seconds (user + system) go to $6.
run_once() {
  local fuzzer=$1 wall=$2 corpus=$3 findings=$4 log=$5 cpu_file=$6 code
  local TIMEFORMAT='%U %S'
  { time nice -n 10 "$fuzzer" -max_total_time="$wall" -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix="$findings/" "$corpus" >> "$log" 2>&1; } 2> "$cpu_file.raw"
  code=$?
  awk '{ printf "%.2f\n", $1 + $2 }' "$cpu_file.raw" > "$cpu_file"
  return $code
}

printf '%-28s %10s %12s %9s\n' fuzzer cpu_s executions findings
status=0
for fuzzer in "${fuzzers[@]}"; do
  [[ -x "$fuzzer" ]] || { echo "$fuzzer: not built" >&2; status=1; continue; }
  name=$(basename "$fuzzer")
  corpus="$build/corpus/$name"
  findings="$build/findings/$name"
  log="$build/$name.log"
  mkdir -p "$corpus" "$findings"
  seeds="$root/tests/fuzz/corpus/${name#fuzz_}"
  [[ -d "$seeds" ]] && cp -n "$seeds"/* "$corpus"/ 2>/dev/null
  : > "$log"
  cpu=0 runs=0
  # Findings of earlier runs stay where they are but are not counted again.
  earlier=$(find "$findings" -type f | wc -l)
  while :; do
    left=$(awk -v s="$seconds" -v c="$cpu" 'BEGIN { printf "%d", s - c }')
    ((left >= 1)) || break
    if [[ -n "$until_epoch" ]]; then
      wall_left=$((until_epoch - $(date -u +%s)))
      ((wall_left >= 1)) || break
      ((left > wall_left)) && left=$wall_left
    fi
    before=$(($(find "$findings" -type f | wc -l) - earlier))
    run_once "$fuzzer" "$left" "$corpus" "$findings" "$log" "$build/$name.cpu"
    code=$?
    used=$(cat "$build/$name.cpu")
    cpu=$(awk -v a="$cpu" -v b="${used:-0}" 'BEGIN { printf "%.2f", a + b }')
    units=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | tail -1 | grep -o '[0-9]*$')
    runs=$((runs + ${units:-0}))
    # Keep the stats line of this run from being counted again.
    sed -i 's/stat::number_of_executed_units/counted_units/' "$log"
    found=$(($(find "$findings" -type f | wc -l) - earlier))
    ((found >= max_findings)) && break
    # A failure that left nothing new would only repeat.
    ((code != 0 && found == before)) && break
  done
  found=$(($(find "$findings" -type f | wc -l) - earlier))
  ((found)) && status=1
  printf '%-28s %10s %12s %9s\n' "$name" "$cpu" "$runs" "$found"
done
exit $status
