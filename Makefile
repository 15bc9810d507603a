# Front door. `make demo` on a bare machine installs what is missing, builds, and runs the main job;
# `make test` does the same set-up and then everything else.
#
#   SANITIZE=address,undefined   or thread: build and test under the sanitizers
#   FUZZ_SECONDS=N               how long `make fuzz` runs each target (default: 60)
#   JOBS=N                       parallel build jobs (default: all processors)

SANITIZE ?=
PRESET   := $(if $(SANITIZE),$(SANITIZE),release)
BUILD    := build/$(PRESET)
JOBS     ?= $(shell nproc)
FUZZ_SECONDS ?= 60
DRAVIN   := $(BUILD)/apps/dravin/dravin

.PHONY: build demo test bench fuzz format tidy clean packages

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

# New inputs stay in build/fuzz/corpus; what fails is kept in build/fuzz/findings.
fuzz:
	@scripts/install-packages tools
	@cmake --preset fuzz -Wno-dev --log-level=WARNING
	@cmake --build build/fuzz -j $(JOBS)
	@fuzz/run build/fuzz $(FUZZ_SECONDS)

format:
	@scripts/install-packages tools
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

tidy: build
	@scripts/install-packages tools
	@git ls-files '*.cpp' | grep -E '^(host|common|Dravin|apps)/' | xargs -P $(JOBS) -n 4 clang-tidy --quiet -p $(BUILD)

clean:
	rm -rf build demo
