# Front door. `make demo` on a bare machine installs what is missing, builds, and runs the main job;
# `make test` does the same set-up and then everything else.
#
#   SANITIZE=address,undefined   or thread: build and test under the sanitizers
#   JOBS=N                       parallel build jobs (default: all processors)

SANITIZE ?=
PRESET   := $(if $(SANITIZE),$(SANITIZE),release)
BUILD    := build/$(PRESET)
JOBS     ?= $(shell nproc)
DRAVIN   := $(BUILD)/apps/dravin/dravin

.PHONY: build demo test bench format tidy clean packages

packages:
	@scripts/install-packages

build: packages
	@cmake --preset $(PRESET) -Wno-dev --log-level=WARNING
	@cmake --build $(BUILD) -j $(JOBS)

demo: packages
	@cmake --preset $(PRESET) -Wno-dev --log-level=WARNING
	@cmake --build $(BUILD) -j $(JOBS) --target dravin
	$(DRAVIN) demo --out demo

test: build
	@ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

bench: packages
	@cmake --preset release -Wno-dev --log-level=WARNING -DDRAVIN_BENCH=ON
	@cmake --build build/release -j $(JOBS)
	@for b in build/release/bench/*_bench; do $$b || exit 1; done

format: packages
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

tidy: build
	@git ls-files '*.cpp' | grep -E '^(host|common|Dravin|apps)/' | xargs -P $(JOBS) -n 4 clang-tidy --quiet -p $(BUILD)

clean:
	rm -rf build demo
