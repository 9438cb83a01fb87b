#!/usr/bin/env bash
# Sets up, builds and starts the wizard. Without a display it says how to see it and saves
# screenshots of its pages instead.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
BUILD_DIR=${BUILD_DIR:-build}
wizard="$BUILD_DIR/src/app/labfolio-setup"
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  shots=${SCREENSHOT_DIR:-screenshots}
  cat <<MSG
There is no display here. Either start the wizard in a virtual one:
  xvfb-run -a $wizard
or look at its pages as pictures:
  QT_QPA_PLATFORM=offscreen $wizard --screenshots $shots
Saving the pictures into $shots/ now.
MSG
  QT_QPA_PLATFORM=offscreen "$wizard" --screenshots "$shots"
  exit 0
fi
exec "$wizard" "$@"
