# Zelvaro: `make demo` and `make test` set up a fresh Debian 12 machine
# (missing packages are installed), build, and then play or test.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
# CI builds keep line tables only (-g1): backtraces and sanitizer reports
# still name files and lines, and the build is minutes shorter.
ifneq ($(CI),)
CI_FLAGS := -DZELVARO_DEBUG_LEVEL=1
endif
ASAN_BUILD ?= build-asan

.PHONY: all setup configure build test check-asan demo bench bench-report fuzz package clean format

all: build

setup:
	@bash packaging/setup.sh

configure: setup
	@cmake -S . -B $(BUILD) -G Ninja $(CI_FLAGS) $(CMAKE_FLAGS)

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

# Every test, under Xvfb and a private D-Bus session bus.
test: build
	@bash packaging/run-headless.sh ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The whole project with AddressSanitizer and UndefinedBehaviorSanitizer in
# $(ASAN_BUILD)/, and every test under them (packaging/sanitizers.sh holds the
# settings; tests labelled no-asan are left out, see tests/).
check-asan: setup
	@cmake -S . -B $(ASAN_BUILD) -G Ninja -DZELVARO_SANITIZE=ON -DZELVARO_BUILD_BENCH=OFF \
	  -DZELVARO_DEBUG_LEVEL=1 $(CMAKE_FLAGS)
	@cmake --build $(ASAN_BUILD) -j $(JOBS)
	@bash packaging/sanitizers.sh bash packaging/run-headless.sh \
	  ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS) -LE no-asan

# A .deb in $(BUILD)/ (CPack; Debian dependencies from dpkg-shlibdeps).
package: build
	@cmake --build $(BUILD) --target package

demo: build
	@bash packaging/demo.sh $(BUILD)

bench: build
	@bash bench/run.sh $(BUILD)

# Every performance target beside the peers (ffmpeg, mpv), one table, each
# run once (REPEAT=2 for the cheaper of two): about ten minutes on 2 cores.
bench-report:
	@REPEAT=$${REPEAT:-1} bash bench/playback_vs_peers.sh $(BUILD)

# libFuzzer targets with AddressSanitizer, in their own build tree;
# `bash bench/fuzz.sh` runs each of them.
fuzz:
	@bash packaging/setup.sh packaging/debian-packages.txt packaging/debian-packages-fuzz.txt
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DZELVARO_FUZZ=ON
	@cmake --build build-fuzz --target fuzzers -j $(JOBS)

clean:
	@rm -rf $(BUILD)

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i
