#!/bin/sh
# Renders the main window with the fixture site "studio" open: docs/workspace-window.png (the
# widgets as GTK draws them) and docs/preview-window.png (a screen capture, with the rendered page).
# Usage: scripts/snapshot-window.sh [build-dir]
set -eu
cd "$(dirname "$0")/.."
build="${1:-build}"
cmake --build "$build" --target QuilloryAppTests
QUILLORY_WINDOW_SNAPSHOT="$PWD/docs/workspace-window.png" QUILLORY_PREVIEW_SNAPSHOT="$PWD/docs/preview-window.png" \
  GSETTINGS_BACKEND=memory GTK_IM_MODULE=none GDK_BACKEND=x11 WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1 \
  xvfb-run -a -s "-screen 0 1920x1200x24" dbus-run-session -- \
  "$build/tests/QuilloryAppTests" --gtest_filter='ContentView.RendersTheOpenSiteWindowToPNG:ContentViewPreview.ScreenCaptureShowsTheRenderedPage'
