#!/usr/bin/env bash
# The structure index rebuild benchmark: 5,000 structures of rdkit-data's NCI set (and, with
# --large, 50,000: the set repeated) end to end against the toolkit alone, in rounds that take
# turns (5 rounds at 5,000, 2 at 50,000).
#   BUILD_DIR   build folder (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD_DIR:-build}
cmake --build "$build" --target structindex_bench lf-standin lf-standin-seed lf_chemistry_rdkit -j2
counts=(5000)
[ "${1:-}" = "--large" ] && counts+=(50000)
for n in "${counts[@]}"; do
  data="$build/bench-structures-$n.txt"
  [ -s "$data" ] || scripts/make-structures.sh "$n" "$data"
  rounds=5
  [ "$n" -gt 5000 ] && rounds=2
  "$build/bench/structindex_bench" --structures "$data" --count "$n" --rounds "$rounds"
done
