#!/bin/sh
# Captures the main window from the screen to docs/: preview-window.png (the fixture site "studio"
# with a rendered page) and brightloop-window.png (a fence being dragged over a page, with the last
# fence's candidates) and page-snapshot-window.png (the page snapshot under the preview) and
# source-editor-window.png (the coloured editor with a fold and the find bar).
# Usage: scripts/snapshot-window.sh [build-dir]
set -eu
cd "$(dirname "$0")/.."
build="${1:-build}"
cmake --build "$build" --target QuilloryAppTests
QUILLORY_PREVIEW_SNAPSHOT="$PWD/docs/preview-window.png" \
  QUILLORY_BRIGHTLOOP_SNAPSHOT="$PWD/docs/brightloop-window.png" \
  QUILLORY_PAGE_SNAPSHOT_SNAPSHOT="$PWD/docs/page-snapshot-window.png" \
  QUILLORY_SOURCE_EDITOR_SNAPSHOT="$PWD/docs/source-editor-window.png" \
  xvfb-run -a -s "-screen 0 1920x1200x24" dbus-run-session -- \
  "$build/tests/QuilloryAppTests" --gtest_filter='ContentViewPreviewOnScreen.ScreenCaptureShowsTheRenderedPage:BrightloopWindowOnScreen.DraggingOverAHeadingOffersItsSourceFirstAndJumpsToIt:PageSnapshotWindowOnScreen.*:SourceEditorWindowOnScreen.ScreenCaptureShowsTheColouredEditorWithAFoldAndTheFindBar'
