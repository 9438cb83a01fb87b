#!/usr/bin/env bash
# labfolio-mst's search benchmark: 5,000 structures of rdkit-data's NCI set and 50,000 (the set
# repeated), each query against RDKit's SubstructLibrary on one thread and on two.
#   BUILD_DIR   build folder (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD_DIR:-build}
cmake --build "$build" --target mst_search_bench lf_chemistry_rdkit -j2
data="$build/bench-structures-5000.txt"
[ -s "$data" ] || scripts/make-structures.sh 5000 "$data"
for n in 5000 50000; do
  for t in 1 2; do
    "$build/bench/mst_search_bench" --structures "$data" --count "$n" --threads "$t"
    echo
  done
done
