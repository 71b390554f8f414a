#!/usr/bin/env bash
# Robustness run: every fuzzer of `make fuzz` for SECONDS each (default 60).
# Prints each fuzzer's result; fails when any of them finds a crash.
set -euo pipefail
seconds=${1:-60}
build=${2:-build-fuzz}
[[ -d "$build/fuzz" ]] || { echo "Run 'make fuzz' first." >&2; exit 1; }
status=0
for fuzzer in "$build"/fuzz/fuzz_*; do
  [[ -x "$fuzzer" ]] || continue
  name=$(basename "$fuzzer")
  corpus="$build/corpus/$name"
  mkdir -p "$corpus"
  if "$fuzzer" -max_total_time="$seconds" -print_final_stats=1 "$corpus" > "$build/$name.log" 2>&1; then
    echo "$name: no crash in ${seconds}s ($(grep -m1 -o 'stat::number_of_executed_units: *[0-9]*' "$build/$name.log" | grep -o '[0-9]*$') runs)"
  else
    echo "$name: FAILED, see $build/$name.log"
    status=1
  fi
done
exit $status
