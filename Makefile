# Zelvaro: `make demo` and `make test` set up a fresh Debian 12 machine
# (missing packages are installed), build, and then play or test.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all setup configure build test demo bench bench-report fuzz package clean format

all: build

setup:
	@bash packaging/setup.sh

configure: setup
	@cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

# Every test, under Xvfb and a private D-Bus session bus.
test: build
	@bash packaging/run-headless.sh ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

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
