#!/usr/bin/env bash
# Fuzzes one parser harness of fuzz/ with libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer, starting from its committed corpus.
#   scripts/fuzz.sh TARGET [SECONDS]     e.g. scripts/fuzz.sh RegistryFile 120
#   scripts/fuzz.sh --list               the harnesses
# TARGET is a harness name (fuzz/<TARGET>Fuzzer.cpp). One process, one job, bounded by SECONDS
# (default 60). New inputs that libFuzzer finds go to build-fuzz/corpus/TARGET, not into the
# committed corpus; a crash is written to build-fuzz/crashes/ and the script fails. A crash input
# worth keeping is copied into fuzz/corpus/TARGET/ so that every test run replays it.
#   FUZZ_BUILD_DIR  build folder (default: build-fuzz)
#   FUZZ_ARGS       extra libFuzzer options (e.g. "-max_len=8192")
# Installs Debian's clang and its sanitizer and libFuzzer runtime when they are missing.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = "--list" ]; then
  ls fuzz/*Fuzzer.cpp | sed 's|fuzz/||; s|Fuzzer.cpp||'
  exit 0
fi
if [ $# -lt 1 ] || [ ! -f "fuzz/${1}Fuzzer.cpp" ]; then
  echo "usage: scripts/fuzz.sh TARGET [SECONDS]   (scripts/fuzz.sh --list names the targets)" >&2
  exit 2
fi
target=$1
seconds=${2:-60}

# shellcheck source=scripts/install-packages.sh
. scripts/install-packages.sh
install_packages fuzz clang libclang-rt-dev

build=${FUZZ_BUILD_DIR:-build-fuzz}
if [ ! -f "$build/CMakeCache.txt" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DLABFOLIO_FUZZ=ON -DLABFOLIO_BUILD_TESTS=OFF -DLABFOLIO_BUILD_GUI=OFF
fi
cmake --build "$build" --target "fuzz_$target" -j "$(nproc)"

work="$build/corpus/$target"
crashes="$build/crashes"
mkdir -p "$work" "$crashes"
# Harnesses of readers that take a path rewrite a temporary file with each input: in memory that
# runs ten times faster than on disk.
if [ -z "${TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ]; then
  export TMPDIR=/dev/shm
fi
# libFuzzer runs in this process (no -jobs: that would fork workers logging to fuzz-N.log),
# one input at a time, and stops after SECONDS or at the first crash.
# shellcheck disable=SC2086
"$build/fuzz/fuzz_$target" "$work" "fuzz/corpus/$target" \
  -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
  -artifact_prefix="$crashes/$target-" -print_final_stats=1 ${FUZZ_ARGS:-}
