# Front door. `make demo` on a bare machine installs what is missing, builds, and runs the main job;
# `make test` does the same set-up and then everything else.
#
#   SANITIZE=address,undefined   or thread: build and test under the sanitizers
#   STRICT=1                     a compiler warning is an error
#   FUZZ_SECONDS=N               how long `make fuzz` runs each target (default: 60)
#   JOBS=N                       parallel build jobs (default: all processors)
#   PREFIX=DIR, DESTDIR=DIR      where `make install` puts things (default: /usr/local, and the root)

SANITIZE ?=
STRICT   ?=
PRESET   := $(if $(SANITIZE),$(SANITIZE),release)
BUILD    := build/$(PRESET)
JOBS     ?= $(shell nproc)
FUZZ_SECONDS ?= 60
PREFIX   ?= /usr/local
DRAVIN   := $(BUILD)/apps/dravin/dravin
CONFIGURE = cmake -Wno-dev --log-level=WARNING -DDRAVIN_STRICT=$(if $(STRICT),ON,OFF)

.PHONY: build dravin app studio demo test debug bench bench-peers fuzz format check-format tidy clean packages \
        install package python

packages:
	@scripts/install-packages

build: packages
	@$(CONFIGURE) --preset $(PRESET)
	@cmake --build $(BUILD) -j $(JOBS)

# The program alone.
dravin: packages
	@$(CONFIGURE) --preset $(PRESET)
	@cmake --build $(BUILD) -j $(JOBS) --target dravin

# The desktop application.
app: packages
	@$(CONFIGURE) --preset $(PRESET)
	@cmake --build $(BUILD) -j $(JOBS) --target dravin_studio

# Opens it on the demo scene, which is made where it is missing.
studio: app
	$(BUILD)/apps/studio/dravin-studio --demo demo

demo: dravin
	$(DRAVIN) demo --out demo

test: build
	@ctest --test-dir $(BUILD) --output-on-failure --no-tests=error -j $(JOBS)

debug: packages
	@$(CONFIGURE) --preset debug
	@cmake --build build/debug -j $(JOBS)

bench: packages
	@cmake --preset release -Wno-dev --log-level=WARNING -DDRAVIN_BENCH=ON
	@cmake --build build/release -j $(JOBS)
	@for b in build/release/bench/*_bench; do $$b || exit 1; done

# Public programs that do the same jobs, beside ours.
bench-peers: dravin
	@bench/peers/run

# New inputs stay in build/fuzz/corpus; what fails is kept in build/fuzz/findings.
fuzz:
	@scripts/install-packages tools
	@cmake --preset fuzz -Wno-dev --log-level=WARNING
	@cmake --build build/fuzz -j $(JOBS)
	@fuzz/run build/fuzz $(FUZZ_SECONDS)

format:
	@scripts/install-packages format
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

check-format:
	@scripts/install-packages format
	@git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run -Werror

# Without precompiled headers, which are another compiler's.
tidy: packages
	@scripts/install-packages tools
	@cmake -Wno-dev --log-level=WARNING --preset release -B build/tidy -DDRAVIN_PRECOMPILE=OFF
	@git ls-files '*.cpp' | grep -E '^(host|common|Dravin|apps)/' | xargs -P $(JOBS) -n 4 clang-tidy --quiet -p build/tidy

# The programs, the plug-in module and the Python package, which is not built with sanitizers.
.PHONY: installable
installable: dravin app
	@cmake --build $(BUILD) -j $(JOBS) --target dravin_plugin $(if $(SANITIZE),,dravin_python)

# All of that, the import helper, data, documentation, manual page and completions; see docs/install.md.
install: installable
	@DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

# The Python package: a wheel in the build folder's python/dist, installed for the system's Python.
python: packages
	@$(CONFIGURE) --preset $(PRESET)
	@cmake --build $(BUILD) -j $(JOBS) --target dravin_python
	@scripts/make-wheel $(BUILD) --install

# A Debian package in build/release.
package: installable
	@scripts/install-packages package
	@cd $(BUILD) && cpack -G DEB

clean:
	rm -rf build demo
