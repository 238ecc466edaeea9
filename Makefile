# The one way in: every target below works on a fresh Debian 12 machine and drives the presets of CMakePresets.json.
# Variables: JOBS=<n> limits parallel compilers, PREFIX= and DESTDIR= say where to install,
# KOLTA_PACKAGES=skip leaves the machine's packages alone, ARGS=<...> is passed on to ctest, the benchmarks or the mutations,
# TARGETS='framing message' and SECONDS=600 choose what make fuzz runs and for how long each, MINUTES=1 how long make soak
# takes, RUNS=1 SEED=123 how many runs make chaos makes, and which.

PREFIX ?= /usr/local
DESTDIR ?=
JOBS ?=
ARGS ?=
TARGETS ?=
SECONDS ?= 60
MINUTES ?= 10
RUNS ?= 200
SEED ?=

build = cmake --build --preset $(1) $(if $(JOBS),--parallel $(JOBS))
# Tests wait more than they work: four at once keep two processors busy.
tests = ctest --preset $(1) --parallel 4
sources = git ls-files '*.h' '*.cpp'
# Sanitizers map fixed address ranges, which some kernels' address randomisation leaves no room for.
fixed_addresses = $$(setarch -R true 2>/dev/null && echo setarch -R)

.DEFAULT_GOAL := help
.NOTPARALLEL:
.PHONY: help demo console test test-asan test-tsan test-static fuzz bench fluency soak chaos mutations lint nightly format doc deb \
        test-deb install clean

help: ## list these targets
	@echo 'make <target>, where <target> is one of'
	@sed -n 's/^\([a-z-]*\):.*## /  \1\t/p' Makefile | expand -t 14

demo: packages-build build/dev/build.ninja ## build and run the main job, in one process and in several
	@$(call build,dev) --target kolta koltasim
	@build/dev/bin/kolta demo

console: packages-build build/dev/build.ninja ## build the operator's console, and show an installation of five servers
	@$(call build,dev) --target kolta koltasim koltaconsole
	@tools/run-console build/dev/bin

test: packages-build+test build/dev/build.ninja ## build everything and run all tests
	@$(call build,dev)
	@$(call tests,dev) $(ARGS)

test-asan: packages-build+test build/asan/build.ninja ## the tests under AddressSanitizer and UBSan
	@$(call build,asan)
	@$(fixed_addresses) $(call tests,asan) $(ARGS)

test-tsan: packages-build+test build/tsan/build.ninja ## the messaging tests under ThreadSanitizer
	@$(call build,tsan)
	@$(fixed_addresses) $(call tests,tsan) $(ARGS)

test-static: packages-build+test build/static/build.ninja ## build and use the package of static libraries
	@$(call tests,static)

fuzz: packages-build+fuzz build/fuzz/build.ninja ## search the decoders for faults, each for SECONDS=60
	@$(call build,fuzz)
	@$(fixed_addresses) tools/fuzz build/fuzz '$(SECONDS)' $(TARGETS)

bench: packages-build+bench build/bench/build.ninja ## build and run the benchmarks
	@$(call build,bench)
	@tools/run-benchmarks build/bench/benchmarks $(ARGS)

fluency: packages-build+bench build/bench/build.ninja ## how long the console makes people wait, on a machine without other work
	@$(call build,bench) --target kolta_fluency
	@export QT_QPA_PLATFORM=offscreen; missed=0; \
	    for size in '100 100' '1 10000'; do \
	        build/bench/bin/kolta_fluency $$size 14 3 || missed=1; \
	    done; exit $$missed

soak: packages-build+bench build/bench/build.ninja ## good and hostile clients at two servers, for MINUTES=10
	@$(call build,bench) --target kolta_soak
	@build/bench/bin/kolta_soak '$(MINUTES)'

chaos: packages-build+bench build/bench/build.ninja ## trees alike over a broker while processes are killed, RUNS=200
	@$(call build,bench) --target kolta_chaos
	@build/bench/bin/kolta_chaos '$(RUNS)' $(SEED)

mutations: packages-build+test+mutate ## do the tests of the distribution notice faults, one after the other
	@$(if $(JOBS),CMAKE_BUILD_PARALLEL_LEVEL=$(JOBS)) tools/try-mutations build/mutations $(ARGS)

lint: packages-build+lint build/dev/build.ninja ## check layout, common mistakes and the floors
	@$(sources) | xargs -d '\n' clang-format --dry-run -Werror
	@tools/check-sources
	@$(call build,dev)
	@tools/run-clang-tidy build/dev $(or $(JOBS),2)

nightly: ## lint, sanitizers, static package, fuzz targets, site, benchmarks, chaos, packages; goes on after a failure
	@failed=; for target in lint test-asan test-tsan test-static 'fuzz SECONDS=60' doc bench 'chaos RUNS=50' deb test-deb; do \
	    echo "== make $$target"; $(MAKE) --no-print-directory $$target || failed="$$failed, make $$target"; \
	done; [ -z "$$failed" ] || { echo "nightly: failed$${failed#,}" >&2; exit 1; }

format: packages-format ## lay out all sources
	@$(sources) | xargs -d '\n' clang-format -i

doc: packages-doc ## make the site of guide and reference, build/doc/html/index.html
	@tools/make-site build/doc
	@echo 'The site begins at build/doc/html/index.html'

deb: packages-build+deb ## build the Debian packages, build/deb/*.deb
	@tools/make-packages build/deb $(JOBS)

test-deb: packages-testdeb ## install, use and remove them in an empty system; as root
	@tools/test-packages build/deb

install: packages-build ## build for release and install below PREFIX (and DESTDIR)
	@cmake --preset release -DCMAKE_INSTALL_PREFIX='$(PREFIX)'
	@$(call build,release)
	@DESTDIR='$(DESTDIR)' cmake --install build/release

clean: ## remove everything that was built
	@rm -rf build

packages-%:
	@tools/need-packages $(subst +, ,$*)

# Ninja runs CMake again by itself when a CMakeLists.txt changes; presets it does not know.
build/%/build.ninja: CMakePresets.json | packages-build
	@cmake --preset $*
	@touch $@
