// The nibble-coded run-length format: the compressor's exact bytes, the expander's answers to
// good, cut and damaged streams, and the memory, callback and file paths agreeing byte for byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "harness.h"
#include "platform/test_env.h"
#include "tarngdi32.h"

namespace {

using Bytes = std::string;

Bytes hex(const char *text) {
    Bytes out;
    unsigned v;
    int used;
    while (std::sscanf(text, "%2x%n", &v, &used) == 1) out += char(v), text += used;
    return out;
}

// A caller's stream behind the callback, counting what the engine asks of it.
struct Stream {
    Bytes in, out;
    size_t pos = 0;
    int restarts = 0, reads = 0, writes = 0, finishes = 0;
    int failWritesFrom = INT_MAX;  // this write and all after it fail
    int failWrite = -1;            // only this one fails
};

int32_t TARN_CALL stream_io(unsigned char *byte, int32_t op, void *context) {
    auto &s = *static_cast<Stream *>(context);
    if (op == TARN_RLE_RESTART) ++s.restarts, s.pos = 0;
    if (op == TARN_RLE_RESTART || op == TARN_RLE_NEXT) {
        if (s.pos >= s.in.size()) return 0;
        ++s.reads;
        *byte = static_cast<unsigned char>(s.in[s.pos++]);
        return 1;
    }
    if (op == TARN_RLE_PUT) {
        const int n = s.writes++;
        if (n >= s.failWritesFrom || n == s.failWrite) return 0;
        s.out += char(*byte);
        return 1;
    }
    ++s.finishes;
    return byte ? -1 : 7;  // 7 marks the finishing call's result; -1 a finish with a byte
}

Stream run_callback(int32_t(TARN_CALL *engine)(koRleIoProc, void *), const Bytes &in, int32_t *result,
                    int failWritesFrom = INT_MAX, int failWrite = -1) {
    Stream s;
    s.in = in;
    s.failWritesFrom = failWritesFrom;
    s.failWrite = failWrite;
    *result = engine(stream_io, &s);
    return s;
}

using MemoFn = uint32_t(TARN_CALL *)(const void *, uint32_t, void *, uint32_t);

// koMemoCompress or koMemoExpand into `cap` bytes followed by 16 guard bytes: the whole buffer.
Bytes memo_buffer(MemoFn fn, const Bytes &in, uint32_t cap, uint32_t *result) {
    Bytes dst(cap + 16, '\xEE');
    *result = fn(in.data(), uint32_t(in.size()), &dst[0], cap);
    return dst;
}

// The bytes a successful call stored; fails the test if it touched anything else.
Bytes run_memo(MemoFn fn, const Bytes &in, uint32_t cap, uint32_t *result) {
    const Bytes dst = memo_buffer(fn, in, cap, result);
    const size_t stored = std::min<size_t>(cap, *result);
    EXPECT_EQ(dst.find_first_not_of('\xEE', *result ? stored : cap), Bytes::npos) << "stored past the count";
    return dst.substr(0, stored);
}

Bytes memo_compress(const Bytes &data) {
    uint32_t needed, got;
    run_memo(koMemoCompress, data, 0, &needed);
    const Bytes out = run_memo(koMemoCompress, data, needed, &got);
    EXPECT_EQ(got, needed) << "the measuring call disagrees";
    return out;
}

Bytes records(size_t n) {
    static const char *const fields[] = {"M\xfcller", "Schneider", "Hauptstra\xdf" "e 12", "80331 M\xfcnchen",
                                         "1.234,50", "15.03.2024", "Fliesenarbeiten"};
    Bytes out;
    for (size_t i = 0; out.size() < n; ++i) {
        Bytes f = fields[i % 7];
        f.resize(12 + i % 17, ' ');
        out += f + (i % 5 == 4 ? "\r\n" : "");
    }
    out.resize(n);
    return out;
}

Bytes random_bytes(std::mt19937 &rng, size_t n, unsigned alphabet, unsigned repeatPercent) {
    Bytes out;
    while (out.size() < n) {
        if (!out.empty() && rng() % 100 < repeatPercent) out += out.back();
        else out += char(rng() % alphabet * (256 / alphabet));
    }
    return out;
}

}  // namespace

TEST(Compression, KnownInputsGiveExactlyTheseBytes) {
    const struct { Bytes in; const char *out; } cases[] = {
        {"AAAB", "49 26 02 00 04 00 00 00 41 42 F0 11"},
        {"AA", "49 26 01 00 02 00 00 00 41 00"},            // the single repeat costs one nibble
        {"BA", "49 26 02 00 02 00 00 00 41 42 01"},         // equal counts: ascending values
        {Bytes(41, 'A'), "49 26 01 00 29 00 00 00 41 F0 FF FF 07"},  // runs 16, 16, 8
        {"abcdefghijklmabcdefghijklmabcdefghijklmzz",     // a rank of 13 repeats as 15/0
         "49 26 0E 00 29 00 00 00 61 62 63 64 65 66 67 68 69 6A 6B 6C 6D 7A "
         "10 32 54 76 98 BA 0C 21 43 65 87 A9 CB 10 32 54 76 98 BA DC F0 00"},
        {Bytes("`abcdefghijklmnopqrstuvwxyz{|`abcdefghijklmnopqrstuvwxyz{|\xE9"),  // 30 values: escape
         "49 26 1D 00 3B 00 00 00 60 61 62 63 64 65 66 67 68 69 6A 6B 6C 6D 6E 6F 70 71 72 73 74 75 "
         "76 77 78 79 7A 7B 7C 10 32 54 76 98 BA DC D0 D1 D2 D3 D4 D5 D6 D7 D8 D9 DA DB DC DD DE 0F "
         "21 43 65 87 A9 CB 0D 1D 2D 3D 4D 5D 6D 7D 8D 9D AD BD CD DD ED FD 9E 0E"},
    };
    for (const auto &c : cases) {
        int32_t result;
        const Stream s = run_callback(koExRleCompress, c.in, &result);
        EXPECT_EQ(s.out, hex(c.out)) << c.in;
        EXPECT_EQ(result, 7);
        EXPECT_EQ(memo_compress(c.in), hex(c.out)) << c.in;
    }
}

// An empty input writes the header and still fails; a short capacity takes what fits and the
// result tells the full size, compressed or expanded.
TEST(Compression, EmptyInputsAndShortCapacities) {
    uint32_t result;
    EXPECT_EQ(memo_buffer(koMemoCompress, "", 8, &result), hex("49 26 00 00 00 00 00 00") + Bytes(16, '\xEE'));
    EXPECT_EQ(result, 0u);
    int32_t r;
    const Stream s = run_callback(koExRleCompress, "", &r);
    EXPECT_EQ(r, 0);
    EXPECT_EQ(s.out, hex("49 26 00 00 00 00 00 00"));
    EXPECT_EQ(s.finishes, 0);
    EXPECT_EQ(s.restarts, 2);

    const Bytes full = memo_compress("AAAB");
    EXPECT_EQ(run_memo(koMemoCompress, "AAAB", 5, &result), full.substr(0, 5));
    EXPECT_EQ(result, full.size());
    const Bytes data = records(5000);
    EXPECT_TRUE(run_memo(koMemoExpand, memo_compress(data), 1000, &result) == data.substr(0, 1000));
    EXPECT_EQ(result, data.size());
}

TEST(Compression, RoundTripsOfEveryKindOfData) {
    std::mt19937 rng(42);
    Bytes all256, distinct40, bounds;
    for (int v = 0; v < 256; ++v) all256 += char(v), all256 += Bytes(size_t(v % 5), char(v));
    for (int i = 0; i < 4000; ++i) distinct40 += char('0' + i * 7 % 40);
    for (size_t k : {1, 2, 15, 16, 17, 31, 32, 33, 255, 256, 257}) bounds += Bytes(k + 1, char(k)) + 'x';
    const Bytes cases[] = {
        "", "x", "\xFF\xFF", Bytes(100000, ' '), bounds, distinct40, all256, random_bytes(rng, 70000, 256, 0),
        random_bytes(rng, 3000, 30, 40), records(100000), records(2048),
    };
    for (const auto &data : cases) {
        SCOPED_TRACE(testing::Message() << data.size() << " bytes");
        int32_t result;
        const Stream c = run_callback(koExRleCompress, data, &result);
        EXPECT_EQ(result, data.empty() ? 0 : 7);
        // An empty input fails, leaving only the header behind.
        const Bytes packed = data.empty() ? c.out : memo_compress(data);
        EXPECT_EQ(packed, c.out);
        uint32_t length;
        EXPECT_TRUE(run_memo(koMemoExpand, packed, uint32_t(data.size()), &length) == data);
        EXPECT_EQ(length, data.size());
        const Stream e = run_callback(koExRleExpand, packed, &result);
        EXPECT_EQ(result, 7);
        EXPECT_TRUE(e.out == data);
        EXPECT_EQ(size_t(e.reads), packed.size()) << "the expander reads every byte it needs once";
    }
}

// The memo functions take their own fast way through the buffers; whatever the input, their
// bytes and results must be those of the engine over a caller's callback.
TEST(Compression, MemoAndCallbackPathsAgree) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 1500; ++trial) {
        const unsigned alphabets[] = {1, 2, 13, 14, 29, 30, 64, 256};
        const size_t n = trial % 10 == 0 ? rng() % 80000 : rng() % 700;
        const Bytes data = random_bytes(rng, n, alphabets[trial % 8], rng() % 60);
        int32_t result;
        const Stream c = run_callback(koExRleCompress, data, &result);
        for (uint32_t cap : {uint32_t(c.out.size()), uint32_t(c.out.size() / 2)}) {
            uint32_t got;
            Bytes expected = c.out.substr(0, cap);
            expected.resize(cap + 16, '\xEE');
            ASSERT_TRUE(memo_buffer(koMemoCompress, data, cap, &got) == expected) << trial << ", capacity " << cap;
            ASSERT_EQ(got, result ? c.out.size() : 0) << "trial " << trial;
        }
        const Bytes &packed = c.out;

        // Cut and damaged streams: the same answer and the same bytes stored.
        Bytes bad = packed.substr(0, packed.size() - rng() % std::max<size_t>(1, packed.size() / 3));
        for (int k = trial % 4; k > 0 && bad.size() > 8; --k) bad[8 + rng() % (bad.size() - 8)] = char(rng());
        const Stream e = run_callback(koExRleExpand, bad, &result);
        for (uint32_t cap : {0u, uint32_t(n / 2), uint32_t(n + 100)}) {
            uint32_t length;
            Bytes expected = e.out.substr(0, cap);
            expected.resize(cap + 16, '\xEE');
            ASSERT_TRUE(memo_buffer(koMemoExpand, bad, cap, &length) == expected) << trial << ", capacity " << cap;
            ASSERT_EQ(length, result ? e.out.size() : 0) << "trial " << trial << ", capacity " << cap;
        }
    }
}

TEST(Compression, ExpandRefusesBadHeadersBeforeReadingOn) {
    Bytes table29;
    for (int i = 0; i < 29; ++i) table29 += char('a' + i);
    const struct { Bytes stream; int32_t result; int reads; } cases[] = {
        {hex("49 26 1E 00 01 00 00 00"), 0, 4},       // table size 30: length never read
        {hex("49 26 00 01 01 00 00 00"), 0, 4},       // 256, not a negative number
        {hex("49 27 00 00 00 00 00 00"), 0, 4},       // wrong magic
        {hex("49 26 00"), 0, 3},
        {hex("49 26 1D 00 01 00 00 00") + table29 + hex("0C"), 7, 38},  // 29 is allowed
        {hex("49 26 00 00 00 00 00 00 FF FF"), 7, 8},  // nothing to expand: codes never read
    };
    for (const auto &c : cases) {
        int32_t result;
        EXPECT_EQ(run_callback(koExRleExpand, c.stream, &result).reads, c.reads) << c.stream.size();
        EXPECT_EQ(result, c.result) << c.stream.size();
    }
}

TEST(Compression, HandMadeStreamsExpand) {
    const struct { const char *stream; Bytes out; } cases[] = {
        {"49 26 01 00 03 00 00 00 41 0F 05", Bytes("\0\0A", 3)},  // early run, entry 5 of 1: zeros
        {"49 26 01 00 03 00 00 00 41 F0 0F", "AAA"},               // a run of 16 stops at the length
        {"49 26 00 00 01 00 00 00 9E 0E", "\xE9"},                  // an escape across two bytes
    };
    for (const auto &c : cases) {
        int32_t result;
        uint32_t length;
        EXPECT_EQ(run_callback(koExRleExpand, hex(c.stream), &result).out, c.out) << c.stream;
        EXPECT_EQ(result, 7);
        EXPECT_EQ(run_memo(koMemoExpand, hex(c.stream), 8, &length), c.out) << c.stream;
    }
}

TEST(Compression, EveryCutStreamGivesZero) {
    const Bytes packed = memo_compress(records(3000) + Bytes(40, '#') + "\x01\x02\x03");
    for (size_t cut = 0; cut < packed.size(); ++cut) {
        const Bytes part = packed.substr(0, cut);
        int32_t result;
        uint32_t length;
        ASSERT_EQ(run_callback(koExRleExpand, part, &result).finishes, 0);
        run_memo(koMemoExpand, part, 4000, &length);
        ASSERT_EQ(result, 0) << cut;
        ASSERT_EQ(length, 0u) << cut;
    }
}

TEST(Compression, FailingOutputStopsWithoutFinishing) {
    const Bytes data = records(500), packed = memo_compress(data);
    int32_t result;
    for (int failFrom : {10, 40, 100}) {
        EXPECT_EQ(run_callback(koExRleCompress, data, &result, failFrom).finishes, 0);
        EXPECT_EQ(result, 0) << failFrom;
        EXPECT_EQ(run_callback(koExRleExpand, packed, &result, failFrom).finishes, 0);
        EXPECT_EQ(result, 0) << failFrom;
    }
    // Header and table writes go unchecked.
    EXPECT_EQ(run_callback(koExRleCompress, data, &result, INT_MAX, 2).out, Bytes(packed).erase(2, 1));
    EXPECT_EQ(result, 7);
}

// The file forms start at both files' current positions. An empty source fails with the header
// still in the buffer; a cut stream fails.
TEST(CompressionFiles, CompressAndExpandFromTheCurrentPositions) {
    const std::string dir = test_env::temp_folder("compression"), in = test_env::join(dir, "in"),
                      out = test_env::join(dir, "out");
    using Engine = int32_t(TARN_CALL *)(HANDLE, HANDLE, uint32_t);
    // Runs the engine from `prefix + body` (positioned behind the prefix) to a file begun with `head`.
    const auto run = [&](Engine engine, const Bytes &prefix, const Bytes &body, uint32_t count) {
        harness::write_file(in, prefix + body);
        HANDLE src = X_Open(in.c_str(), 0), dst = X_Creat(out.c_str());
        X_Seek(src, int32_t(prefix.size()), 0);
        X_Write(dst, "head", 4);
        const int32_t result = engine(src, dst, count);
        X_Close(src), X_Close(dst);
        return result;
    };
    for (size_t n : {1, 1023, 1024, 1025, 5000}) {
        SCOPED_TRACE(n);
        const Bytes data = records(n), packed = memo_compress(data);
        uint32_t blocks, before, after;
        GetGlobalUsage(&blocks, &before);
        EXPECT_NE(run(koFileCompress, "skipped prefix", data + "not part of it", uint32_t(n)), 0);
        EXPECT_EQ(harness::read_file(out), "head" + packed);
        EXPECT_NE(run(koFileExpand, "xy", packed + "trailing", uint32_t(packed.size() + 8)), 0);
        EXPECT_TRUE(harness::read_file(out) == "head" + data);
        GetGlobalUsage(&blocks, &after);
        EXPECT_EQ(after, before) << "the file context is freed";
    }
    EXPECT_EQ(run(koFileCompress, "", "", 0), 0);
    EXPECT_EQ(harness::read_file(out), "head") << "the header stays in the buffer";
    const Bytes packed = memo_compress(records(3000));
    EXPECT_EQ(run(koFileExpand, "", packed.substr(0, packed.size() - 1), uint32_t(packed.size())), 0);
}
