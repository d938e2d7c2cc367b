# tarngdi32: make demo runs the tool on bundled data; make test builds every preset and runs
# every test (natively, under sanitizers, and the Windows build under wine64).

SHELL := /bin/bash
JOBS  ?= $(shell nproc 2>/dev/null || echo 2)
WINE  ?= /usr/lib/wine/wine64
PRESETS := native asan win64 win32

# Debian packages the build and the tests need.
PACKAGES := cmake make g++ googletest libgtest-dev mingw-w64 wine64 binutils-mingw-w64-i686 python3 locales-all libsqlite3-dev libbenchmark-dev

.PHONY: all deps build $(addprefix build-,$(PRESETS)) test demo bench clean

all: build

deps:
	@bash scripts/install-deps.sh $(PACKAGES)

build: $(addprefix build-,$(PRESETS))

$(addprefix build-,$(PRESETS)):
	@cmake --preset $(@:build-%=%) >/dev/null
	@cmake --build --preset $(@:build-%=%) -j $(JOBS)

test: deps build
	@bash scripts/run-tests.sh

bench: deps
	@cmake --preset bench >/dev/null
	@cmake --build --preset bench -j $(JOBS)
	@TARNGDI_HOME=$(CURDIR)/build/bench/home build/bench/tarn_bench --benchmark_counters_tabular=true

demo: build-native
	@bash demo/run.sh build/native/tarn

clean:
	rm -rf build
