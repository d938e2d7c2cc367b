// The one entry point of the benchmark program; each bench_*.cpp registers its own cases.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
