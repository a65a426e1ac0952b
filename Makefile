# Thin wrapper over the CMake presets.
#   make run            build, then show the default virtual controller
#   make check          install missing packages (as root), build, run all tests
#   make check PRESET=asan|tsan   the same under a sanitizer
#   make check PRESET=armhf       32-bit ARM cross build, its tests under qemu-arm
#                                 (run scripts/install-deps.sh armhf as root once)
#   make bench          run the benchmarks (release build)
PRESET ?= default
BUILD := build/$(PRESET)

.PHONY: all deps configure build check run bench clean

all: build

deps:
	@scripts/install-deps.sh $(PRESET)

configure: deps
	@cmake --preset $(PRESET) >/dev/null

build: configure
	@cmake --build --preset $(PRESET)

check: build
	@ctest --preset $(PRESET)

run: build
	@$(BUILD)/vexctl info

bench: PRESET = default
bench: build
	@$(BUILD)/bench/vexsdk_bench

clean:
	rm -rf build
