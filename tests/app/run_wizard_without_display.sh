#!/usr/bin/env bash
# Both forms of the README's screenshot command on a machine without a display: the wizard
# must choose the offscreen platform itself and save its pictures.
#   $1 the source folder, $2 the build folder, $3 a scratch folder
set -euo pipefail
src=$1 build=$2 scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch"
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM
export BUILD_DIR=$build LABFOLIO_SKIP_SETUP=1

check() { # form, folder, output file
  if grep -Eq 'could not connect to display|no Qt platform plugin' "$3"; then
    echo "FAIL ($1): the wizard looked for a display"
    cat "$3"
    exit 1
  fi
  local n
  n=$(find "$2" -name '*.png' | wc -l)
  if [ "$n" -lt 10 ]; then
    echo "FAIL ($1): $n pictures in $2"
    cat "$3"
    exit 1
  fi
  echo "ok ($1): $n pictures"
}

SCREENSHOT_DIR="$scratch/default" "$src/scripts/run-wizard.sh" >"$scratch/plain.out" 2>&1 ||
  { echo "FAIL (scripts/run-wizard.sh): exit status $?"; cat "$scratch/plain.out"; exit 1; }
grep -q 'There is no display here' "$scratch/plain.out" || { echo "FAIL: no advice shown"; exit 1; }
check "scripts/run-wizard.sh" "$scratch/default" "$scratch/plain.out"

"$src/scripts/run-wizard.sh" --screenshots "$scratch/chosen" >"$scratch/chosen.out" 2>&1 ||
  { echo "FAIL (--screenshots DIR): exit status $?"; cat "$scratch/chosen.out"; exit 1; }
check "scripts/run-wizard.sh --screenshots DIR" "$scratch/chosen" "$scratch/chosen.out"
