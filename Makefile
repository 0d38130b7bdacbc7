# Two commands for a fresh Debian 12 machine: `make run` and `make test`.
# Both install what is missing, configure and build; both are quick when nothing changed.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
CTEST_ARGS ?=
PREFIX ?= /usr/local

.PHONY: run test bench build deps configure clean install package sanitize fuzz

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/build.ninja:
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

configure: deps $(BUILD_DIR)/build.ninja

build: configure
	cmake --build $(BUILD_DIR)

run: build
	$(BUILD_DIR)/quillory

# Application tests need a display; without one they run under a virtual X server.
# Then the core and command-line tests again under the sanitizers, and every fuzzing harness over
# its corpus and 30 s of new inputs.
test: build
	@scripts/run-tests.sh $(BUILD_DIR) $(CTEST_ARGS)
	@scripts/run-sanitizers.sh $(SANITIZE_BUILD_DIR)
	@scripts/run-fuzz.sh $(SANITIZE_BUILD_DIR) 30

# The application benchmarks need a display; without one they run under a virtual X server.
bench: build
	$(BUILD_DIR)/bench/QuilloryBenchmarks --benchmark_counters_tabular=true
	@if [ -n "$$DISPLAY$$WAYLAND_DISPLAY" ]; then $(BUILD_DIR)/bench/QuilloryAppBenchmarks --benchmark_counters_tabular=true; \
	else GSETTINGS_BACKEND=memory GTK_IM_MODULE=none WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1 xvfb-run -a -s "-screen 0 1920x1200x24" \
	  dbus-run-session -- $(BUILD_DIR)/bench/QuilloryAppBenchmarks --benchmark_counters_tabular=true; fi

# Installs the programs, their resources, the launcher entry, the icons and the software-centre data.
install: build
	cmake --install $(BUILD_DIR) --prefix $(PREFIX)

# Builds the Debian package quillory_<version>_<arch>.deb in the build folder.
package: build
	cd $(BUILD_DIR) && cpack -G DEB

# The core and command-line tests under AddressSanitizer and UndefinedBehaviorSanitizer (clang),
# and each fuzzing harness over its corpus and then FUZZ_SECONDS of new inputs, in their own
# build directory.
SANITIZE_BUILD_DIR ?= build-sanitize
FUZZ_SECONDS ?= 30
sanitize: deps
	@scripts/run-sanitizers.sh $(SANITIZE_BUILD_DIR)

fuzz: deps
	@scripts/run-fuzz.sh $(SANITIZE_BUILD_DIR) $(FUZZ_SECONDS)

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_BUILD_DIR)
