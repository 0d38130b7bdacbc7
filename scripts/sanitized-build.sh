# Sourced by run-sanitizers.sh and run-fuzz.sh: configures and builds a second build directory with
# clang, AddressSanitizer, UndefinedBehaviorSanitizer and the libFuzzer harnesses. Only the core,
# the command-line companion, their tests and the harnesses are built there.
sanitized_build() {
  local build_dir=$1
  shift
  if [[ ! -f $build_dir/build.ninja ]]; then
    local launcher=()
    if command -v ccache >/dev/null 2>&1; then
      launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
    fi
    cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ "${launcher[@]}" \
      -DQUILLORY_SANITIZE=ON -DQUILLORY_FUZZ=ON -DQUILLORY_BUILD_BENCHMARKS=OFF >/dev/null
  fi
  cmake --build "$build_dir" -j "$(nproc 2>/dev/null || echo 2)" --target "$@"
}

# A finding stops the process with a report, whichever sanitizer makes it.
export ASAN_OPTIONS=${ASAN_OPTIONS:-abort_on_error=1:detect_leaks=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
