#!/usr/bin/env bash
# Sets up, builds and runs every test (unit, widget on the offscreen platform, end to end
# against the SQL Server stand-in). Extra arguments go to ctest, e.g. -L e2e.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
BUILD_DIR=${BUILD_DIR:-build}
cd "$BUILD_DIR"
ctest --output-on-failure -j "$(nproc)" --timeout 600 "$@"
