#!/bin/sh
# Renders the main window with the fixture site "studio" open to docs/workspace-window.png.
# Usage: scripts/snapshot-window.sh [build-dir]
set -eu
cd "$(dirname "$0")/.."
build="${1:-build}"
cmake --build "$build" --target QuilloryAppTests
QUILLORY_WINDOW_SNAPSHOT="$PWD/docs/workspace-window.png" GSETTINGS_BACKEND=memory GTK_IM_MODULE=none \
  xvfb-run -a -s "-screen 0 1920x1200x24" dbus-run-session -- \
  "$build/tests/QuilloryAppTests" --gtest_filter='ContentView.RendersTheOpenSiteWindowToPNG'
