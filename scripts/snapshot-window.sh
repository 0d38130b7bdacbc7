#!/bin/sh
# Captures the main window from the screen to docs/: preview-window.png (the fixture site "studio"
# with a rendered page) and brightloop-window.png (a fence being dragged over a page, with the last
# fence's candidates), page-snapshot-window.png (the page snapshot under the preview),
# settings-window.png (the settings window in Dark with the "Leaf" accent),
# git-status-strip.png and git-details-sheet.png (the Git state under the panes and its details),
# live-fetch-window.png and live-fetch-sheet.png (a page fetched from a loopback server, opened),
# vite-react-window.png (the Vite React fixture running in the dev server, fenced),
# source-editor-window.png (the coloured editor with a fold and the find bar), and editor-pane.png
# and editor-pane-expanded.png (the editor header, compact beside the preview and expanded when
# wide, over a page with changes), diff-sheet-progress.png and diff-sheet.png (the diff sheet
# while it computes and with the diff).
# Usage: scripts/snapshot-window.sh [build-dir]
set -eu
cd "$(dirname "$0")/.."
build="${1:-build}"
cmake --build "$build" --target QuilloryAppTests
QUILLORY_PREVIEW_SNAPSHOT="$PWD/docs/preview-window.png" \
  QUILLORY_BRIGHTLOOP_SNAPSHOT="$PWD/docs/brightloop-window.png" \
  QUILLORY_PAGE_SNAPSHOT_SNAPSHOT="$PWD/docs/page-snapshot-window.png" \
  QUILLORY_SETTINGS_SNAPSHOT="$PWD/docs/settings-window.png" \
  QUILLORY_GIT_STRIP_SNAPSHOT="$PWD/docs/git-status-strip.png" \
  QUILLORY_GIT_DETAILS_SNAPSHOT="$PWD/docs/git-details-sheet.png" \
  QUILLORY_LIVE_FETCH_SNAPSHOT="$PWD/docs/live-fetch-window.png" \
  QUILLORY_LIVE_FETCH_SHEET_SNAPSHOT="$PWD/docs/live-fetch-sheet.png" \
  QUILLORY_VITE_REACT_SNAPSHOT="$PWD/docs/vite-react-window.png" \
  QUILLORY_SOURCE_EDITOR_SNAPSHOT="$PWD/docs/source-editor-window.png" \
  QUILLORY_EDITOR_PANE_SNAPSHOT="$PWD/docs/editor-pane.png" \
  QUILLORY_EDITOR_PANE_EXPANDED_SNAPSHOT="$PWD/docs/editor-pane-expanded.png" \
  QUILLORY_DIFF_SHEET_PROGRESS_SNAPSHOT="$PWD/docs/diff-sheet-progress.png" \
  QUILLORY_DIFF_SHEET_SNAPSHOT="$PWD/docs/diff-sheet.png" \
  xvfb-run -a -s "-screen 0 1920x1200x24" dbus-run-session -- \
  "$build/tests/QuilloryAppTests" --gtest_filter='ContentViewPreviewOnScreen.ScreenCaptureShowsTheRenderedPage:BrightloopWindowOnScreen.DraggingOverAHeadingOffersItsSourceFirstAndJumpsToIt:PageSnapshotWindowOnScreen.*:SettingsWindowOnScreen.*:GitWindowOnScreen.*:FetchLiveSiteWindowOnScreen.*:FrontendDevServerWindowOnScreen.*:SourceEditorWindowOnScreen.ScreenCaptureShowsTheColouredEditorWithAFoldAndTheFindBar:EditorPaneOnScreen.ScreenCaptureShowsThePaneWithChanges:DiffReviewSheetOnScreen.*'
