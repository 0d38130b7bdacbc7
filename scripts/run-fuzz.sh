#!/usr/bin/env bash
# Builds the libFuzzer harnesses of fuzz/ (clang, sanitizers on) and runs each over its committed
# seed corpus and then on new inputs for SECONDS seconds. New inputs go to a scratch corpus, not
# into the tree; one that crashes is left as crash-* in the build directory's fuzz-findings/.
# Usage: scripts/run-fuzz.sh [BUILD_DIR] [SECONDS] [HARNESS...]
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${1:-build-sanitize}
seconds=${2:-30}
shift 2 || shift $#
source scripts/sanitized-build.sh
sanitized_build "$build_dir" fuzzers

harnesses=("$@")
if ((${#harnesses[@]} == 0)); then
  for corpus in fuzz/corpus/*/; do harnesses+=("$(basename "$corpus")"); done
fi

findings=$build_dir/fuzz-findings
mkdir -p "$findings"
status=0
for harness in "${harnesses[@]}"; do
  scratch=$(mktemp -d)
  log=$findings/$harness.log
  seeds=$(find "fuzz/corpus/$harness" -type f | wc -l)
  # Pages of a few kilobytes find the same faults as large ones, many times faster.
  if "$build_dir/fuzz/fuzz-$harness" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=8192 \
       -print_final_stats=1 -artifact_prefix="$findings/$harness-" "$scratch" "fuzz/corpus/$harness" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    echo "fuzz-$harness: ${runs:-?} executions, $seeds seed inputs, $(find "$scratch" -type f | wc -l) inputs in the corpus at the end"
  else
    echo "fuzz-$harness FAILED; the input and report are in $findings" >&2
    tail -40 "$log" >&2
    status=1
  fi
  rm -rf "$scratch"
done
exit $status
