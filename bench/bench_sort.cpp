// koQuickSortMemoryArray beside std::sort: 1,000,000 random 16-byte records, one C compare
// callback for both, timed in the same iteration so the ratio sees the same machine state.
#include <benchmark/benchmark.h>

#include "tarngdi32.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr int32_t kRecords = 1000000;
constexpr int32_t kSize = 16;

struct Record {
    unsigned char bytes[kSize];
};

int32_t TARN_CALL compare_records(void *, int32_t size, const void *a, const void *b) {
    return std::memcmp(a, b, static_cast<size_t>(size));
}

const std::vector<Record> &input() {
    static const std::vector<Record> records = [] {
        std::vector<Record> r(kRecords);
        std::mt19937 rng(20240315);
        for (auto &rec : r)
            for (auto &b : rec.bytes) b = static_cast<unsigned char>(rng());
        return r;
    }();
    return records;
}

double seconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void BM_QuickSortMemoryArray_vs_StdSort(benchmark::State &state) {
    // std::sort calls the callback through a pointer, as the library has to.
    koSortCompareProc compare = compare_records;
    benchmark::DoNotOptimize(compare);
    const auto less = [compare](const Record &a, const Record &b) {
        return compare(nullptr, kSize, &a, &b) < 0;
    };
    std::vector<Record> ours, theirs;
    double oursTotal = 0, theirsTotal = 0;
    for (auto _ : state) {
        ours = input();
        theirs = input();
        auto start = std::chrono::steady_clock::now();
        koQuickSortMemoryArray(ours.data(), kRecords, kSize, compare, 16);
        const double oursTime = seconds_since(start);
        start = std::chrono::steady_clock::now();
        std::sort(theirs.begin(), theirs.end(), less);
        const double theirsTime = seconds_since(start);
        benchmark::DoNotOptimize(ours.data());
        benchmark::DoNotOptimize(theirs.data());
        state.SetIterationTime(oursTime);
        oursTotal += oursTime;
        theirsTotal += theirsTime;
    }
    // The quick sort may leave its first record behind (the shell sort's rule); the rest must be
    // in order and the records the same.
    const bool tailSorted = std::is_sorted(ours.begin() + 1, ours.end(), less);
    std::sort(ours.begin(), ours.end(), less);
    if (!tailSorted || std::memcmp(ours.data(), theirs.data(), ours.size() * sizeof(Record)) != 0) {
        state.SkipWithError("the quick sort's result is out of order");
        return;
    }
    const double runs = static_cast<double>(state.iterations());
    state.counters["ko_ms"] = oursTotal / runs * 1e3;
    state.counters["std_sort_ms"] = theirsTotal / runs * 1e3;
    state.counters["ratio"] = oursTotal / theirsTotal;
}

}  // namespace

BENCHMARK(BM_QuickSortMemoryArray_vs_StdSort)->UseManualTime()->Unit(benchmark::kMillisecond);
