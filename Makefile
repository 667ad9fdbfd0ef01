# What one does with Korva; `make help` lists it. The builds are CMake's, in build/PRESET.

JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 10
FUZZ_TARGETS ?=
PREFIX ?= /usr/local

PRESETS := release debug asan stress fuzz

export JOBS
.NOTPARALLEL:

.PHONY: korva
korva: build/release/build.ninja  ## build the program: build/release/korva
	@cmake --build --preset release -j $(JOBS) --target korva

.PHONY: demo
demo: packages korva  ## build the program and show what it does
	@build/release/korva /q do examples/tour.do </dev/null

.PHONY: test
test: packages build-release build-fuzz  ## build and run all tests but the two below
	@tools/run_tests --fuzz-seconds $(FUZZ_SECONDS) -j $(JOBS)

.PHONY: asan-test
asan-test: build-asan  ## unit tests and scripts under the sanitizers
	@tools/run_tests --preset asan -j $(JOBS)

.PHONY: stress-test
stress-test: build/stress/build.ninja  ## scripts with small buffers and failing operations
	@cmake --build --preset stress -j $(JOBS) --target korva
	@tools/run_tests --preset stress -j $(JOBS)

.PHONY: fuzz
fuzz: build-fuzz  ## fuzz: FUZZ_TARGETS="dta_read ..." FUZZ_SECONDS=600
	@tools/run_fuzz --seconds $(FUZZ_SECONDS) -j $(JOBS) $(FUZZ_TARGETS)

.PHONY: bench
bench: build/release/build.ninja  ## build and run the measurements
	@cmake --build --preset release -j $(JOBS) --target bench
	@for program in $(sort $(wildcard bench/*.cpp)); do \
		echo "== $$program"; build/release/bench_$$(basename $$program .cpp) || exit 1; \
	done

.PHONY: format
format:  ## format the C++ files
	@tools/format

.PHONY: install
install: korva  ## install under PREFIX (/usr/local)
	@cmake --install build/release --prefix $(PREFIX)

.PHONY: clean
clean:  ## remove what was built
	rm -rf build

.PHONY: help
help:  ## list these words
	@sed -n 's/^\([a-z-]*\):[^#]*## /\1\t/p' $(firstword $(MAKEFILE_LIST)) | expand -t 14

.PHONY: packages
packages:
	@tools/install_packages

$(PRESETS:%=build/%/build.ninja): build/%/build.ninja: CMakePresets.json
	@cmake --preset $*

.PHONY: $(PRESETS:%=build-%)
$(PRESETS:%=build-%): build-%: build/%/build.ninja
	@cmake --build --preset $* -j $(JOBS)
