// Byte-wise file access through the cached file object, beside a putc/getc loop over stdio on
// the same amount of data in the same run. Each side's time is its best of three rounds taken
// in turn, so that the page cache's and the disk's moods reach both alike.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tarngdi32.h"

namespace {

constexpr uint32_t kBytes = 256u << 20;
constexpr int kRounds = 3;
using Clock = std::chrono::steady_clock;

std::string bench_file(const char *name) {
    const char *home = std::getenv("TARNGDI_HOME");
    const std::filesystem::path dir = home && *home ? home : "/tmp";
    std::error_code ignored;
    std::filesystem::create_directories(dir, ignored);
    return (dir / name).string();
}

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Cheap to make, and not the same in every block.
inline unsigned char byte_at(uint32_t i) { return static_cast<unsigned char>(i ^ (i >> 13)); }

void report(benchmark::State &state, double ours, double stdio) {
    state.SetBytesProcessed(int64_t(kBytes) * int64_t(state.iterations()));
    state.counters["MB/s"] = kBytes / 1e6 / ours;
    state.counters["stdio_MB/s"] = kBytes / 1e6 / stdio;
    state.counters["vs_stdio"] = stdio / ours;  // 1 or more: at least as fast as stdio
}

void BM_PutByteVsPutc(benchmark::State &state) {
    const std::string ours = bench_file("bench_cached_put.dat");
    const std::string theirs = bench_file("bench_stdio_put.dat");
    double oursSec = 1e30, stdioSec = 1e30;
    for (auto _ : state) {
        for (int round = 0; round < kRounds; ++round) {
            IXFileCached *f = CreateIXFileCached();
            Clock::time_point t0 = Clock::now();
            bool ok = f && f->lpVtbl->Create(f, ours.c_str());
            for (uint32_t i = 0; ok && i < kBytes; ++i) {
                const unsigned char b = byte_at(i);
                ok = f->lpVtbl->PutByte(f, &b) != 0;
            }
            ok = ok && f->lpVtbl->Close(f);
            oursSec = std::min(oursSec, seconds_since(t0));
            if (f) f->lpVtbl->Release(f);
            if (!ok) {
                state.SkipWithError("PutByte failed");
                return;
            }

            t0 = Clock::now();
            std::FILE *s = std::fopen(theirs.c_str(), "wb");
            ok = s != nullptr;
            for (uint32_t i = 0; ok && i < kBytes; ++i) ok = putc(byte_at(i), s) != EOF;
            ok = s && std::fclose(s) == 0 && ok;
            stdioSec = std::min(stdioSec, seconds_since(t0));
            if (!ok) {
                state.SkipWithError("putc failed");
                return;
            }
        }
        state.SetIterationTime(oursSec);
    }
    std::remove(ours.c_str());
    std::remove(theirs.c_str());
    report(state, oursSec, stdioSec);
}

void BM_GetByteVsGetc(benchmark::State &state) {
    const std::string path = bench_file("bench_get.dat");
    {
        std::FILE *s = std::fopen(path.c_str(), "wb");
        bool ok = s != nullptr;
        for (uint32_t i = 0; ok && i < kBytes; ++i) ok = putc(byte_at(i), s) != EOF;
        if (!s || std::fclose(s) != 0 || !ok) {
            state.SkipWithError("cannot write the file to read");
            return;
        }
    }
    double oursSec = 1e30, stdioSec = 1e30;
    for (auto _ : state) {
        for (int round = 0; round < kRounds; ++round) {
            uint64_t oursSum = 0, stdioSum = 0;
            uint32_t oursCount = 0, stdioCount = 0;
            IXFileCached *f = CreateIXFileCached();
            Clock::time_point t0 = Clock::now();
            if (f && f->lpVtbl->Open(f, path.c_str(), 0)) {
                unsigned char b;
                while (f->lpVtbl->GetByte(f, &b)) {
                    oursSum += b;
                    ++oursCount;
                }
                f->lpVtbl->Close(f);
            }
            oursSec = std::min(oursSec, seconds_since(t0));
            if (f) f->lpVtbl->Release(f);

            t0 = Clock::now();
            if (std::FILE *s = std::fopen(path.c_str(), "rb")) {
                int c;
                while ((c = getc(s)) != EOF) {
                    stdioSum += unsigned(c);
                    ++stdioCount;
                }
                std::fclose(s);
            }
            stdioSec = std::min(stdioSec, seconds_since(t0));
            if (oursCount != kBytes || stdioCount != kBytes || oursSum != stdioSum) {
                state.SkipWithError("GetByte and getc disagree");
                std::remove(path.c_str());
                return;
            }
        }
        state.SetIterationTime(oursSec);
    }
    std::remove(path.c_str());
    report(state, oursSec, stdioSec);
}

}  // namespace

BENCHMARK(BM_PutByteVsPutc)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetByteVsGetc)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
