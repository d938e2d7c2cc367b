// koMemoCompress and koMemoExpand beside LZ4 (LZ4_compress_default, LZ4_decompress_safe) and
// zlib at level 1 (compress2, uncompress) on the same 64 MiB of record data, in the same run:
// MB/s of each, compressed sizes, and our speed and size as ratios to LZ4's. Then calls per
// second for 2 KiB memos. Each codec's time is its best of three rounds taken in turn, so a
// busy machine slows all of them alike.
#include <benchmark/benchmark.h>
#include <lz4.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tarngdi32.h"

namespace {

using Clock = std::chrono::steady_clock;
using Buffer = std::vector<unsigned char>;

constexpr size_t kDataBytes = 64u << 20;
constexpr size_t kMemoBytes = 2048;
constexpr int kRounds = 3;

struct Lcg {
    uint64_t s;
    uint32_t below(uint32_t n) {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        return uint32_t(s >> 33) % n;
    }
};

void put_left(std::string &rec, const std::string &text, size_t width) {
    rec += text.substr(0, width);
    rec.append(width - std::min(width, text.size()), ' ');
}

void put_right(std::string &rec, const std::string &text, size_t width) {
    rec.append(width - std::min(width, text.size()), ' ');
    rec += text.substr(0, width);
}

// Fixed-width customer and job records as the applications keep them: code page 1252, fields
// padded with blanks, amounts with a decimal comma, dates DD.MM.YYYY, CR LF line ends.
const Buffer &records() {
    static const Buffer data = [] {
        static const char *const firstNames[] = {"Hans",   "Peter",   "Klaus",   "J\xfcrgen",
                                                 "Stefan", "Michael", "Andreas", "Sabine",
                                                 "Petra",  "Monika",  "Ursula",  "Renate",
                                                 "Helga",  "J\xf6rg"};
        static const char *const lastNames[] = {"M\xfcller",
                                                "Schmidt",
                                                "Schneider",
                                                "Fischer",
                                                "Weber",
                                                "Meyer",
                                                "Wagner",
                                                "Becker",
                                                "Schulz",
                                                "Hoffmann",
                                                "Sch\xe4"
                                                "fer",
                                                "Koch",
                                                "Bauer",
                                                "Richter",
                                                "Schr\xf6"
                                                "der",
                                                "Kr\xfcger",
                                                "Zimmermann"};
        static const char *const streets[] = {"Hauptstra\xdf"
                                              "e",
                                              "Bahnhofstra\xdf"
                                              "e",
                                              "Gartenweg",
                                              "Schulstra\xdf"
                                              "e",
                                              "Lindenallee",
                                              "Am M\xfchlbach",
                                              "Kirchplatz",
                                              "Bergstra\xdf"
                                              "e"};
        static const char *const cities[] = {"M\xfcnchen", "K\xf6ln",  "N\xfcrnberg", "W\xfcrzburg",
                                             "Regensburg", "Augsburg", "Passau",      "Landshut",
                                             "F\xfcrth",   "Bamberg"};
        static const char *const jobs[] = {"Fliesenarbeiten Bad",
                                           "Malerarbeiten Wohnzimmer",
                                           "Heizung Wartung",
                                           "Dachrinne erneuert",
                                           "Elektroinstallation K\xfc"
                                           "che",
                                           "Estrich verlegt",
                                           "Fenster eingebaut",
                                           "Ger\xfcst gestellt",
                                           "Material lt. Aufma\xdf"};
        Lcg rng{20240315};
        Buffer out;
        out.reserve(kDataBytes + 256);
        std::string rec;
        char buf[64];
        for (uint32_t number = 10000; out.size() < kDataBytes; ++number) {
            rec.clear();
            std::snprintf(buf, sizeof buf, "K%06u", number);
            put_left(rec, buf, 8);
            put_left(rec, lastNames[rng.below(17)], 24);
            put_left(rec, firstNames[rng.below(14)], 16);
            std::snprintf(buf, sizeof buf, "%s %u", streets[rng.below(8)], 1 + rng.below(120));
            put_left(rec, buf, 28);
            std::snprintf(buf, sizeof buf, "%05u", 10000 + rng.below(89999));
            put_left(rec, buf, 6);
            put_left(rec, cities[rng.below(10)], 20);
            put_left(rec, jobs[rng.below(9)], 30);
            const uint32_t cents = rng.below(500000);
            std::snprintf(buf, sizeof buf, "%u,%02u", cents / 100, cents % 100);
            put_right(rec, buf, 12);
            std::snprintf(buf, sizeof buf, " %02u.%02u.%04u", 1 + rng.below(28), 1 + rng.below(12),
                          2015 + rng.below(10));
            put_left(rec, buf, 12);
            std::snprintf(buf, sizeof buf, "%u", rng.below(100));
            put_right(rec, buf, 4);
            rec += "\r\n";
            out.insert(out.end(), rec.begin(), rec.end());
        }
        out.resize(kDataBytes);
        return out;
    }();
    return data;
}

// Runs each job once per round, in turn, and keeps each one's best time in seconds.
std::vector<double> best_of_rounds(const std::vector<std::function<void()>> &jobs) {
    std::vector<double> best(jobs.size(), 1e30);
    for (int round = 0; round < kRounds; ++round) {
        for (size_t j = 0; j < jobs.size(); ++j) {
            const auto start = Clock::now();
            jobs[j]();
            best[j] =
                std::min(best[j], std::chrono::duration<double>(Clock::now() - start).count());
        }
    }
    return best;
}

struct Packed {
    Buffer ours, lz4, zlib;
    uint32_t oursSize = 0;
    int lz4Size = 0;
    uLongf zlibSize = 0;
};

void compress_all(const Buffer &data, Packed &p) {
    p.ours.resize(koMemoCompress(data.data(), uint32_t(data.size()), nullptr, 0));
    p.lz4.resize(size_t(LZ4_compressBound(int(data.size()))));
    p.zlib.resize(compressBound(uLong(data.size())));
    p.oursSize =
        koMemoCompress(data.data(), uint32_t(data.size()), p.ours.data(), uint32_t(p.ours.size()));
    p.lz4Size = LZ4_compress_default(reinterpret_cast<const char *>(data.data()),
                                     reinterpret_cast<char *>(p.lz4.data()), int(data.size()),
                                     int(p.lz4.size()));
    p.zlibSize = p.zlib.size();
    compress2(p.zlib.data(), &p.zlibSize, data.data(), uLong(data.size()), 1);
}

void report(benchmark::State &state, const std::vector<double> &seconds, const Packed &p) {
    const double mb = kDataBytes / 1e6;
    state.counters["ko_MB/s"] = mb / seconds[0];
    state.counters["lz4_MB/s"] = mb / seconds[1];
    state.counters["zlib1_MB/s"] = mb / seconds[2];
    state.counters["ko_vs_lz4"] = seconds[1] / seconds[0];  // speed as a share of LZ4's
    state.counters["ko_bytes"] = p.oursSize;
    state.counters["lz4_bytes"] = p.lz4Size;
    state.counters["zlib1_bytes"] = double(p.zlibSize);
    state.counters["size_vs_lz4"] = double(p.oursSize) / p.lz4Size;
}

void BM_MemoCompress_vs_LZ4_zlib1(benchmark::State &state) {
    const Buffer &data = records();
    Packed p;
    compress_all(data, p);
    std::vector<double> seconds;
    for (auto _ : state) {
        seconds = best_of_rounds({
            [&] {
                p.oursSize = koMemoCompress(data.data(), uint32_t(data.size()), p.ours.data(),
                                            uint32_t(p.ours.size()));
            },
            [&] {
                p.lz4Size = LZ4_compress_default(reinterpret_cast<const char *>(data.data()),
                                                 reinterpret_cast<char *>(p.lz4.data()),
                                                 int(data.size()), int(p.lz4.size()));
            },
            [&] {
                p.zlibSize = p.zlib.size();
                compress2(p.zlib.data(), &p.zlibSize, data.data(), uLong(data.size()), 1);
            },
        });
        state.SetIterationTime(seconds[0]);
    }
    report(state, seconds, p);
}

void BM_MemoExpand_vs_LZ4_zlib1(benchmark::State &state) {
    const Buffer &data = records();
    Packed p;
    compress_all(data, p);
    Buffer ours(data.size()), lz4(data.size()), zlib(data.size());
    uint32_t oursLength = 0;
    int lz4Length = 0;
    uLongf zlibLength = 0;
    std::vector<double> seconds;
    for (auto _ : state) {
        seconds = best_of_rounds({
            [&] {
                oursLength =
                    koMemoExpand(p.ours.data(), p.oursSize, ours.data(), uint32_t(ours.size()));
            },
            [&] {
                lz4Length = LZ4_decompress_safe(reinterpret_cast<const char *>(p.lz4.data()),
                                                reinterpret_cast<char *>(lz4.data()), p.lz4Size,
                                                int(lz4.size()));
            },
            [&] {
                zlibLength = zlib.size();
                uncompress(zlib.data(), &zlibLength, p.zlib.data(), p.zlibSize);
            },
        });
        state.SetIterationTime(seconds[0]);
    }
    if (oursLength != data.size() || ours != data || size_t(lz4Length) != data.size() ||
        lz4 != data || zlibLength != data.size() || zlib != data) {
        state.SkipWithError("an expansion did not give the data back");
        return;
    }
    report(state, seconds, p);
}

// Memos of 2 KiB, one after the other through the data: calls per second.
void BM_Memo2KiB_Compress(benchmark::State &state) {
    const Buffer &data = records();
    unsigned char out[2 * kMemoBytes];
    size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(koMemoCompress(data.data() + at, kMemoBytes, out, sizeof out));
        at = (at + kMemoBytes) % (data.size() - kMemoBytes);
    }
    state.counters["calls/s"] =
        benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kMemoBytes));
}

void BM_Memo2KiB_Expand(benchmark::State &state) {
    const Buffer &data = records();
    constexpr size_t kMemos = 4096;
    std::vector<Buffer> packed(kMemos);
    for (size_t i = 0; i < kMemos; ++i) {
        packed[i].resize(2 * kMemoBytes);
        packed[i].resize(koMemoCompress(data.data() + i * kMemoBytes, kMemoBytes, packed[i].data(),
                                        uint32_t(packed[i].size())));
    }
    unsigned char out[kMemoBytes];
    size_t i = 0;
    for (auto _ : state) {
        const Buffer &memo = packed[i++ % kMemos];
        benchmark::DoNotOptimize(koMemoExpand(memo.data(), uint32_t(memo.size()), out, sizeof out));
    }
    state.counters["calls/s"] =
        benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kMemoBytes));
}

}  // namespace

BENCHMARK(BM_MemoCompress_vs_LZ4_zlib1)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoExpand_vs_LZ4_zlib1)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Memo2KiB_Compress);
BENCHMARK(BM_Memo2KiB_Expand);
