// The nibble-coded run-length format over the callback, memory and file paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "harness.h"

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
    int failFrom = INT_MAX, failOnly = -1;  // writes from failFrom on fail, and the write failOnly
    int32_t result = 0;
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
    if (op == TARN_RLE_FINISH) return ++s.finishes, 7;  // 7 marks the finishing call's result
    const int n = s.writes++;
    if (n >= s.failFrom || n == s.failOnly) return 0;
    s.out += char(*byte);
    return 1;
}

Stream run(int32_t(TARN_CALL *engine)(koRleIoProc, void *), const Bytes &in, int failFrom = INT_MAX,
           int failOnly = -1) {
    Stream s;
    s.in = in, s.failFrom = failFrom, s.failOnly = failOnly;
    s.result = engine(stream_io, &s);
    return s;
}

Bytes packed_of(const Bytes &data) { return run(koExRleCompress, data).out; }

Bytes random_bytes(std::mt19937 &rng, size_t n, unsigned alphabet, unsigned repeatPercent) {
    Bytes out;
    while (out.size() < n) {
        if (!out.empty() && rng() % 100 < repeatPercent) out += out.back();
        else out += char(rng() % alphabet * (256 / alphabet));
    }
    return out;
}

}  // namespace

// An empty input writes the header and still fails.
TEST(Compression, KnownInputsGiveExactlyTheseBytes) {
    const struct {
        Bytes in;
        const char *out;
    } cases[] = {
        {"", "49 26 00 00 00 00 00 00"},
        {"AAAB", "49 26 02 00 04 00 00 00 41 42 F0 11"},
        {"AA", "49 26 01 00 02 00 00 00 41 00"},                     // the single repeat costs one nibble
        {"BA", "49 26 02 00 02 00 00 00 41 42 01"},                  // equal counts: ascending values
        {Bytes(41, 'A'), "49 26 01 00 29 00 00 00 41 F0 FF FF 07"},  // runs 16, 16, 8
        {"abcdefghijklmabcdefghijklmabcdefghijklmzz",                // a rank of 13 repeats as 15/0
         "49 26 0E 00 29 00 00 00 61 62 63 64 65 66 67 68 69 6A 6B 6C 6D 7A "
         "10 32 54 76 98 BA 0C 21 43 65 87 A9 CB 10 32 54 76 98 BA DC F0 00"},
    };
    for (const auto &c : cases) {
        const Stream s = run(koExRleCompress, c.in);
        EXPECT_EQ(s.out, hex(c.out)) << c.in;
        EXPECT_EQ(s.result, c.in.empty() ? 0 : 7) << c.in;
        EXPECT_EQ(s.restarts, 2) << "one pass counts, one codes";
    }
}

// The memo functions take their own fast way through the buffers; whatever the input, also cut
// and damaged, their bytes and results must be those of the engine over a caller's callback. A
// short capacity takes what fits, and the result tells the full size.
TEST(Compression, RoundTripsWithMemoAndCallbackPathsAgreeing) {
    std::mt19937 rng(7);
    Bytes all256, bounds;
    for (int v = 0; v < 256; ++v) all256 += Bytes(size_t(v % 5 + 1), char(v));
    for (size_t k : {1, 15, 16, 17, 255, 256, 257}) bounds += Bytes(k + 1, char(k)) + 'x';
    std::vector<Bytes> inputs = {"", "x", "\xFF\xFF", Bytes(100000, ' '), bounds, all256};
    const unsigned alphabets[] = {1, 2, 13, 14, 29, 30, 64, 256};
    // Inputs from 1 MiB on are coded through a table of byte pairs.
    for (unsigned alphabet : {30u, 256u}) inputs.push_back(random_bytes(rng, 1100000, alphabet, 8));
    for (int trial = 0; trial < 1500; ++trial) {
        const size_t n = trial % 10 == 0 ? rng() % 80000 : rng() % 700;
        inputs.push_back(random_bytes(rng, n, alphabets[trial % 8], rng() % 60));
    }
    for (size_t i = 0; i < inputs.size(); ++i) {
        const Bytes &data = inputs[i];
        SCOPED_TRACE(testing::Message() << "input " << i << ", " << data.size() << " bytes");
        const Stream c = run(koExRleCompress, data), e = run(koExRleExpand, c.out);
        ASSERT_EQ(c.result, data.empty() ? 0 : 7);
        ASSERT_EQ(e.result, 7);
        ASSERT_TRUE(e.out == data);
        ASSERT_EQ(size_t(e.reads), c.out.size()) << "the expander reads every byte it needs once";
        Bytes bad = c.out.substr(0, c.out.size() - rng() % std::max<size_t>(1, c.out.size() / 3));
        for (size_t k = i % 4; k > 0 && bad.size() > 8; --k) bad[8 + rng() % (bad.size() - 8)] = char(rng());
        const Stream b = run(koExRleExpand, bad);
        const uint32_t n = uint32_t(data.size()), packed = uint32_t(c.out.size());
        const struct {
            decltype(&koMemoExpand) fn;
            const Bytes &in;
            const Stream &engine;
            uint32_t cap;
        } calls[] = {
            {koMemoCompress, data, c, packed}, {koMemoCompress, data, c, packed / 2},
            {koMemoExpand, c.out, e, n},       {koMemoExpand, c.out, e, n / 2},
            {koMemoExpand, bad, b, 0},         {koMemoExpand, bad, b, n / 2},
            {koMemoExpand, bad, b, n + 100},
        };
        for (const auto &call : calls) {
            Bytes dst(call.cap + 16, '\xEE'), expected = call.engine.out.substr(0, call.cap);
            expected.resize(dst.size(), '\xEE');  // 16 guard bytes behind the capacity
            const uint32_t got = call.fn(call.in.data(), uint32_t(call.in.size()), &dst[0], call.cap);
            ASSERT_TRUE(dst == expected) << "capacity " << call.cap;
            ASSERT_EQ(got, call.engine.result ? call.engine.out.size() : 0) << "capacity " << call.cap;
        }
    }
}

// Bad headers are refused before reading on (the reads counted); hand-made streams show the
// expander's quirks (the bytes out).
TEST(Compression, ExpandHeadersAndHandMadeStreams) {
    Bytes table29;
    for (int i = 0; i < 29; ++i) table29 += char('a' + i);
    const struct {
        Bytes stream, out;
        int32_t result, reads;
    } cases[] = {
        {hex("49 26 1E 00 01 00 00 00"), "", 0, 4},  // table size 30: length never read
        {hex("49 26 00 01 01 00 00 00"), "", 0, 4},  // 256, not a negative number
        {hex("49 27 00 00 00 00 00 00"), "", 0, 4},  // wrong magic
        {hex("49 26 00"), "", 0, 3},
        {hex("49 26 1D 00 01 00 00 00") + table29 + hex("0C"), "", 7, 38},   // 29 is allowed
        {hex("49 26 00 00 00 00 00 00 FF FF"), "", 7, 8},                    // nothing to expand: codes never read
        {hex("49 26 01 00 03 00 00 00 41 0F 05"), Bytes("\0\0A", 3), 7, 0},  // early run, entry 5 of 1: zeros
        {hex("49 26 01 00 03 00 00 00 41 F0 0F"), "AAA", 7, 0},              // a run of 16 stops at the length
        {hex("49 26 00 00 01 00 00 00 9E 0E"), "\xE9", 7, 0},                // an escape across two bytes
    };
    for (const auto &c : cases) {
        const Stream s = run(koExRleExpand, c.stream);
        EXPECT_EQ(s.result, c.result) << c.stream.size();
        if (c.reads) EXPECT_EQ(s.reads, c.reads) << c.stream.size();
        if (!c.out.empty()) EXPECT_EQ(s.out, c.out) << c.stream.size();
    }
}

TEST(Compression, CutStreamsAndFailingOutputsStopWithoutFinishing) {
    std::mt19937 rng(3000);
    const Bytes data = random_bytes(rng, 3000, 64, 50) + Bytes(40, '#') + "\x01\x02\x03", packed = packed_of(data);
    for (size_t cut = 0; cut < packed.size(); ++cut) {
        const Stream s = run(koExRleExpand, packed.substr(0, cut));
        ASSERT_TRUE(s.finishes == 0 && s.result == 0) << cut;
    }
    for (const Stream &s : {run(koExRleCompress, data, 10), run(koExRleCompress, data, 100),
                            run(koExRleExpand, packed, 10), run(koExRleExpand, packed, 100)})
        EXPECT_TRUE(s.finishes == 0 && s.result == 0) << s.writes;
    // Header and table writes go unchecked.
    const Stream s = run(koExRleCompress, data, INT_MAX, 2);
    EXPECT_EQ(s.out, Bytes(packed).erase(2, 1));
    EXPECT_EQ(s.result, 7);
}

// The file forms start at both files' current positions. An empty source fails with the header
// still in the buffer; a cut stream fails.
TEST(CompressionFiles, CompressAndExpandFromTheCurrentPositions) {
    const std::string dir = test_env::temp_folder("compression"), in = test_env::join(dir, "in"),
                      out = test_env::join(dir, "out");
    // Runs the engine from "skip" + `body` (positioned behind "skip") to a file begun with "head".
    const auto file = [&](auto engine, const Bytes &body, uint32_t count) {
        harness::write_file(in, "skip" + body);
        HANDLE src = X_Open(in.c_str(), 0), dst = X_Creat(out.c_str());
        X_Seek(src, 4, 0);
        X_Write(dst, "head", 4);
        const int32_t result = engine(src, dst, count);
        X_Close(src), X_Close(dst);
        return result;
    };
    uint32_t blocks, before, after;
    GetGlobalUsage(&blocks, &before);
    std::mt19937 rng(5000);
    const Bytes data = random_bytes(rng, 5000, 64, 50), packed = packed_of(data);
    EXPECT_NE(file(koFileCompress, data + "not part of it", uint32_t(data.size())), 0);
    EXPECT_EQ(harness::read_file(out), "head" + packed);
    EXPECT_NE(file(koFileExpand, packed + "trailing", uint32_t(packed.size() + 8)), 0);
    EXPECT_TRUE(harness::read_file(out) == "head" + data);
    GetGlobalUsage(&blocks, &after);
    EXPECT_EQ(after, before) << "the file context is freed";
    EXPECT_EQ(file(koFileCompress, "", 0), 0);
    EXPECT_EQ(harness::read_file(out), "head") << "the header stays in the buffer";
    EXPECT_EQ(file(koFileExpand, packed.substr(0, packed.size() - 1), uint32_t(packed.size())), 0);
    // A disk that fills up under the first block goes unnoticed, as writes are not checked; the
    // source is only read, and the stream without its header does not expand.
    {
        harness::Fault diskFull("WriteFile", 2, harness::kDiskFull);  // behind "head"
        EXPECT_NE(file(koFileCompress, data, uint32_t(data.size())), 0);
    }
    EXPECT_EQ(harness::read_file(in), "skip" + data);
    const Bytes cut = harness::read_file(out).substr(4);
    EXPECT_EQ(cut, packed.substr(1024));
    EXPECT_EQ(file(koFileExpand, cut, uint32_t(cut.size())), 0);
}
