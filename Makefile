# tarngdi32: make demo runs the tool on bundled data; make test builds every preset and runs
# every test (natively, under sanitizers, the x86_64 Windows build under wine64 and the shipped
# i686 DLL under 32-bit wine).

SHELL := /bin/bash
JOBS  ?= $(shell nproc 2>/dev/null || echo 2)
PRESETS := native asan win64 win32

# Debian packages the build and the tests need.
PACKAGES := cmake make g++ googletest libgtest-dev mingw-w64 wine64 binutils-mingw-w64-i686 python3 locales-all libsqlite3-dev libbenchmark-dev libmuparser-dev liblz4-dev zlib1g-dev libpugixml-dev libcups2-dev libcairo2-dev libpango1.0-dev libgdk-pixbuf-2.0-dev pkg-config fonts-liberation2 poppler-utils cups-daemon cups-client
# Only for make fuzz: clang and its libFuzzer runtime.
FUZZ_PACKAGES := clang libclang-rt-14-dev
FUZZ_SECONDS ?= 60

.PHONY: all deps build $(addprefix build-,$(PRESETS)) test demo bench fuzz clean

all: build

deps:
	@bash scripts/install-deps.sh $(PACKAGES)
	@bash scripts/install-wine32.sh

build: $(addprefix build-,$(PRESETS))

$(addprefix build-,$(PRESETS)):
	@cmake --preset $(@:build-%=%) >/dev/null
	@cmake --build --preset $(@:build-%=%) -j $(JOBS)

test: deps build
	@bash scripts/run-tests.sh

# Every benchmark (or those BENCH_FILTER names), its figures as JSON in build/bench/bench.json,
# then one table of ours against the peer, the ratio and its goal.
BENCH_FILTER ?= .
bench: deps
	@cmake --preset bench >/dev/null
	@cmake --build --preset bench -j $(JOBS)
	@TARNGDI_HOME=$(CURDIR)/build/bench/home build/bench/tarn_bench --benchmark_counters_tabular=true \
		--benchmark_filter='$(BENCH_FILTER)' \
		--benchmark_out=build/bench/bench.json --benchmark_out_format=json
	@python3 bench/goals.py build/bench/bench.json

# Every fuzz target (fuzz/fuzz_*.cpp, the fuzz preset) for FUZZ_SECONDS each, inputs up to
# 4096 bytes; the corpus of each grows in build/fuzz/corpus/NAME.
fuzz:
	@bash scripts/install-deps.sh $(FUZZ_PACKAGES)
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz -j $(JOBS)
	@mkdir -p build/fuzz/home
	@for t in build/fuzz/fuzz_*; do \
	  [ -x "$$t" ] || continue; \
	  name=$$(basename $$t); mkdir -p build/fuzz/corpus/$$name; \
	  echo "== $$name, $(FUZZ_SECONDS) s"; \
	  TARNGDI_HOME=$(CURDIR)/build/fuzz/home LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp $$t -max_len=4096 -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 build/fuzz/corpus/$$name fuzz/corpus/$$name \
	    >build/fuzz/$$name.log 2>&1 || { tail -40 build/fuzz/$$name.log; exit 1; }; \
	  grep -E '^#[0-9]+[[:space:]]+DONE' build/fuzz/$$name.log; \
	done

demo: build-native
	@bash demo/run.sh build/native/tarn

clean:
	rm -rf build
