#!/usr/bin/env bash
# Builds the core, the command-line companion and their tests with clang under AddressSanitizer
# and UndefinedBehaviorSanitizer in a second build directory, and runs those tests there.
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${1:-build-sanitize}
source scripts/sanitized-build.sh
sanitized_build "$build_dir" QuilloryCoreTests QuilloryCLITests quillory-cli
ctest --test-dir "$build_dir" --output-on-failure -j "$(nproc 2>/dev/null || echo 2)" -R '^(core|cli)\.'
