# Thin wrapper over the CMake presets.
#   make run            install what building and running need (as root),
#                       build the library and tools, show the default
#                       virtual controller
#   make check          install that and what the tests need (as root),
#                       build everything, run all tests
# Without root, a missing package stops with the exact list to install.
#   make check PRESET=asan|tsan   the same under a sanitizer
#   make check PRESET=armhf       32-bit ARM cross build, its tests under qemu-arm
#                                 (run scripts/install-deps.sh armhf as root once)
#   make bench          run the benchmarks (release build)
PRESET ?= default
BUILD := build/$(PRESET)

.PHONY: all deps deps-run configure configure-run build check run bench clean

all: build

deps:
	@scripts/install-deps.sh $(if $(filter armhf,$(PRESET)),armhf,check)

deps-run:
	@scripts/install-deps.sh run

configure-run: deps-run
	@cmake --preset $(PRESET) >/dev/null

configure: deps
	@cmake --preset $(PRESET) >/dev/null

build: configure
	@cmake --build --preset $(PRESET)

check: build
	@ctest --preset $(PRESET)

run: configure-run
	@cmake --build --preset $(PRESET) --target vexsdk vexsdk_static vexctl vexsim
	@$(BUILD)/vexctl info

bench: PRESET = default
bench: build
	@$(BUILD)/bench/vexsdk_bench

clean:
	rm -rf build
