#!/usr/bin/env bash
# Sets up, builds and starts the wizard.
#   scripts/run-wizard.sh              on a demonstration machine: the SQL Server stand-in plays
#                                      the desktop instance and a multi-user server
#   scripts/run-wizard.sh --real       with this machine's own registry file and servers
#   ... --screenshots DIR              save pictures of the pages instead of opening the window
# Without a display it says how to see the wizard and saves the pictures into ./screenshots
# (SCREENSHOT_DIR); the screenshot mode draws on Qt's offscreen platform there by itself.
#   LABFOLIO_SKIP_SETUP=1  the build is known to be current: start without the set-up step
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${LABFOLIO_SKIP_SETUP:-0}" != 1 ]; then
  scripts/setup.sh
fi
BUILD_DIR=${BUILD_DIR:-build}
wizard="$BUILD_DIR/src/app/labfolio-setup"

real=0
args=()
for a in "$@"; do
  if [ "$a" = "--real" ]; then real=1; else args+=("$a"); fi
done
if [ "$real" = 0 ]; then
  # shellcheck source=demo-env.sh
  source scripts/demo-env.sh
fi

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [[ " ${args[*]-} " != *" --screenshots "* ]]; then
  shots=${SCREENSHOT_DIR:-screenshots}
  cat <<MSG
There is no display here. Either start the wizard in a virtual one:
  xvfb-run -a scripts/run-wizard.sh
or look at its pages as pictures:
  scripts/run-wizard.sh --screenshots DIR
Saving the pictures into $shots/ now.
MSG
  args+=(--screenshots "$shots")
fi
"$wizard" "${args[@]}"
