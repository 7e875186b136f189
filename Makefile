# Front door for building, testing and running avconfig.
#   make run      build and run the program on the shipped defaults, in a sandbox
#   make test     install missing build dependencies, build, run every test
#                 (normal build, sanitizer build, fuzz smoke runs)
#   make bench    build and run the benchmarks
#   make install  install under DESTDIR (default: the system)
#   make package  build the Debian package and check it with lintian
#                 (ARCH=i386: the 32-bit x86 package, built with -m32)

SHELL := /bin/bash
CMAKE ?= cmake
JOBS ?= 2
# Tests run more at once than there are cores: the end-to-end ones spend
# nearly all their time waiting on the terminal's 0.1 s read timer.
TEST_JOBS ?= 6
BUILD := build
ASAN_BUILD := build-asan
FUZZ_BUILD := build-fuzz
FUZZ_FAST_BUILD := build-fuzz-fast
# The package's architecture: this machine's, or i386 from an amd64 machine
# (the same -m32 build that the tests run).
# Only "make package ARCH=i386" chooses it: an ARCH in the environment is
# often something else's (x86_64, arm64 of a kernel build).
HOST_ARCH := $(shell dpkg --print-architecture 2>/dev/null)
ifneq ($(origin ARCH),command line)
  ARCH := $(HOST_ARCH)
endif
RELEASE_BUILD := build-release
RELEASE_OPTIONS :=
ifneq ($(ARCH),$(HOST_ARCH))
  ifneq ($(ARCH)/$(HOST_ARCH),i386/amd64)
    $(error ARCH=$(ARCH): only i386 can be built here, besides $(HOST_ARCH))
  endif
  RELEASE_BUILD := build-release-i386
  RELEASE_OPTIONS := -DCMAKE_CXX_FLAGS=-m32
endif
# Packages are reproducible: every date in them is the last commit's (or the
# SOURCE_DATE_EPOCH given), so two builds of one commit are byte-identical.
SOURCE_DATE_EPOCH ?= $(shell git -C $(CURDIR) log -1 --format=%ct 2>/dev/null)
# Seconds per target: the smoke run in make test (CI), and make fuzz.
FUZZ_SMOKE_SECONDS ?= 8
FUZZ_SECONDS ?= 60
# make fuzz FUZZ_RUNS=10000000: stop each target after that many executions.
FUZZ_RUNS ?= -1
# make fuzz FUZZ_TARGETS="win pager": those targets only (default: all).
FUZZ_TARGETS ?=
SANDBOX := $(CURDIR)/$(BUILD)/root
# What building and running the program needs: a fresh Debian 12 has only make.
RUN_PACKAGES := cmake ninja-build g++
ifeq ($(ARCH)/$(HOST_ARCH),i386/amd64)
  RUN_PACKAGES += gcc-multilib g++-multilib
endif
# What "make package" adds.
PACKAGE_PACKAGES := $(RUN_PACKAGES) dpkg-dev file lintian
# What the tests and benches add. qemu-user runs the 32-bit program where the
# kernel cannot; ncurses is for the start-up bench's peer only.
DEB_PACKAGES := $(PACKAGE_PACKAGES) clang libclang-rt-dev pkg-config libgtest-dev \
                libgmock-dev libbenchmark-dev libvterm-dev valgrind groff-base man-db \
                python3 ncurses-term libncurses-dev gcc-multilib g++-multilib qemu-user acl
# The test targets must not quietly build without their tests.
TEST_OPTIONS := -DAV_TESTS=ON -DAV_BENCH=ON -DAV_M32=ON
BUILD_OPTIONS ?=

CONFIGURE = $(CMAKE) -G Ninja -Wno-dev

.PHONY: all deps deps-run deps-package build build-asan build-fuzz test unit-test asan-test \
        fuzz-smoke fuzz build-fuzz-fast bench run sandbox release install package clean

all: build

# $(call install_missing,<packages>): installs those not installed yet.
install_missing = missing=$$(for p in $(1); do \
	    dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q 'ok installed' || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	    if [ "$$(id -u)" != 0 ]; then echo "missing packages (install as root):" $$missing; exit 1; fi; \
	    echo "installing:" $$missing; \
	    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing; \
	fi

deps:
	@$(call install_missing,$(DEB_PACKAGES))
deps-run:
	@$(call install_missing,$(RUN_PACKAGES))
deps-package:
	@$(call install_missing,$(PACKAGE_PACKAGES))

# Tests and benches are built where their libraries are installed.
build:
	$(CONFIGURE) -S . -B $(BUILD) -DAV_PRODUCT_ROOT=$(SANDBOX) $(BUILD_OPTIONS)
	$(CMAKE) --build $(BUILD) -j $(JOBS)

build-asan:
	$(CONFIGURE) -S . -B $(ASAN_BUILD) -DAV_SANITIZE=ON -DAV_TESTS=ON -DAV_BENCH=OFF \
	    -DAV_PRODUCT_ROOT=$(CURDIR)/$(ASAN_BUILD)/root
	$(CMAKE) --build $(ASAN_BUILD) -j $(JOBS)

build-fuzz:
	CXX=clang++ $(CONFIGURE) -S . -B $(FUZZ_BUILD) -DAV_FUZZ=ON -DAV_TESTS=OFF -DAV_BENCH=OFF \
	    -DAV_PRODUCT_ROOT=$(CURDIR)/$(FUZZ_BUILD)/root
	$(CMAKE) --build $(FUZZ_BUILD) -j $(JOBS)

build-fuzz-fast:
	CXX=clang++ $(CONFIGURE) -S . -B $(FUZZ_FAST_BUILD) -DAV_FUZZ=ON -DAV_FUZZ_ASAN=OFF \
	    -DAV_TESTS=OFF -DAV_BENCH=OFF -DAV_PRODUCT_ROOT=$(CURDIR)/$(FUZZ_FAST_BUILD)/root
	$(CMAKE) --build $(FUZZ_FAST_BUILD) -j $(JOBS)

# Each fuzz target runs briefly from its seed corpus (fuzz/corpus/<name>, if any),
# with the mutations fixed by FUZZ_SEED (default 1), JOBS targets at a time.
fuzz-smoke: build-fuzz
	FUZZ_SEED=$${FUZZ_SEED:-1} FUZZ_JOBS=$${FUZZ_JOBS:-$(JOBS)} tools/fuzz_run.sh $(FUZZ_BUILD) $(FUZZ_SMOKE_SECONDS)

# Every target for FUZZ_SECONDS (or FUZZ_RUNS executions), with a table of
# executions, speed and findings. The campaign runs without AddressSanitizer,
# which halved the speed of the targets that allocate, and every input it
# keeps is then run through the sanitized build: a memory error still shows,
# as a finding of the replay.
fuzz: build-fuzz build-fuzz-fast
	FUZZ_TARGETS="$(FUZZ_TARGETS)" tools/fuzz_run.sh $(FUZZ_FAST_BUILD) $(FUZZ_SECONDS) $(FUZZ_RUNS) $(FUZZ_BUILD)

unit-test: BUILD_OPTIONS = $(TEST_OPTIONS)
unit-test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(TEST_JOBS)

asan-test: build-asan
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
	    ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(TEST_JOBS)

test: deps
	$(MAKE) build build-asan fuzz-smoke BUILD_OPTIONS="$(TEST_OPTIONS)"
	$(MAKE) unit-test
	$(MAKE) asan-test

bench: BUILD_OPTIONS = -DAV_BENCH=ON
bench: deps build
	@set -e; for b in $(BUILD)/bench/bench_*; do [ -x "$$b" ] && { echo "== $${b##*/}"; $$b; }; done

# A product root inside the build tree: the shipped terminal descriptions and
# documentation, and sample configuration files (kept if already there, so that
# edits made in one run are seen in the next).
sandbox: build
	mkdir -p $(SANDBOX)/conduvia/config $(SANDBOX)/hawser/prog
	cp data/termdef $(SANDBOX)/termdef
	cp data/doc $(SANDBOX)/conduvia/doc
	for f in ipaddr commands env; do \
	    [ -e $(SANDBOX)/conduvia/config/$$f ] || cp data/sample/$$f $(SANDBOX)/conduvia/config/$$f; done

run: deps-run
	$(MAKE) --no-print-directory sandbox
	@if [ "$$(id -u)" = 0 ]; then exec $(BUILD)/app/avconfig; \
	elif unshare --map-root-user true 2>/dev/null; then exec unshare --map-root-user $(BUILD)/app/avconfig; \
	else echo "avconfig runs only as root: run 'sudo make run', or allow unprivileged user namespaces"; exit 1; fi

# Release tree with the real product root (/usr/lib/ardovane). Configuration
# files already present under DESTDIR are kept as they are.
release: deps-run
	$(CONFIGURE) -S . -B $(RELEASE_BUILD) -DCMAKE_BUILD_TYPE=Release -DAV_TESTS=OFF -DAV_BENCH=OFF \
	    $(RELEASE_OPTIONS)
	$(CMAKE) --build $(RELEASE_BUILD) -j $(JOBS)

install: release
	DESTDIR="$(DESTDIR)" $(CMAKE) --install $(RELEASE_BUILD)

# Any lintian error or warning that the package does not override fails it.
package: deps-package release
	@[ -n "$(SOURCE_DATE_EPOCH)" ] || { echo "not a git checkout: set SOURCE_DATE_EPOCH"; exit 1; }
	rm -f $(RELEASE_BUILD)/*.deb
	cd $(RELEASE_BUILD) && SOURCE_DATE_EPOCH=$(SOURCE_DATE_EPOCH) cpack -G DEB
	lintian --fail-on error,warning $(RELEASE_BUILD)/avconfig_*.deb

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD) $(FUZZ_FAST_BUILD) $(RELEASE_BUILD)
