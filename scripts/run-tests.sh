#!/usr/bin/env bash
# Runs every test through CTest; under xvfb-run when there is no display.
set -euo pipefail
build_dir=${1:-build}
shift || true
jobs=$(nproc 2>/dev/null || echo 2)
command=(ctest --test-dir "$build_dir" --output-on-failure -j "$jobs" "$@")
if [[ -z "${DISPLAY:-}" && -z "${WAYLAND_DISPLAY:-}" ]]; then
  exec xvfb-run -a -s "-screen 0 1920x1200x24" dbus-run-session -- "${command[@]}"
fi
exec "${command[@]}"
