#!/usr/bin/env bash
# Runs every benchmark of the build tree and prints its figures.
set -euo pipefail
build=${1:-build}
status=0
for bench in "$build"/bin/bench_*; do
  [[ -x "$bench" ]] || continue
  echo "== $(basename "$bench")"
  "$bench" || status=1
done
exit $status
