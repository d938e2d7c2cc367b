// The block-cached file object through its C interface table, and the two line sources.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "files/line_sources.h"
#include "files/xfiles.h"
#include "harness.h"
#include "platform/file_env.h"
#include "platform/test_env.h"
#include "tarngdi32.h"

namespace {

constexpr int32_t kBlock = 8192;

// One reference to a cached file, called the way a C caller does.
struct Cached {
    IXFileCached *o = CreateIXFileCached();
    Cached() = default;
    Cached(const Cached &) = delete;
    ~Cached() {
        if (o) o->lpVtbl->Release(o);
    }
    const IXFileCachedVtbl *operator->() const { return o->lpVtbl; }

    int32_t put(unsigned char b) { return o->lpVtbl->PutByte(o, &b); }
    int32_t get(unsigned char *b) { return o->lpVtbl->GetByte(o, b); }
    int32_t write(const std::string &s) { return o->lpVtbl->Write(o, s.data(), int32_t(s.size())); }
    int32_t seek(int32_t p) { return o->lpVtbl->Seek(o, p); }
    uint32_t pos() { return o->lpVtbl->GetPos(o); }
    uint32_t size() { return o->lpVtbl->GetSize(o); }
    std::string read_all() {
        std::string s(size(), '\0');
        if (!seek(0) || o->lpVtbl->Read(o, &s[0], int32_t(s.size())) != int32_t(s.size())) return "<short read>";
        return s;
    }
};

// Bytes whose value tells their position apart within and across blocks.
std::string pattern(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = char((i * 7 + i / kBlock * 13) & 0xFF);
    return s;
}

std::string new_path(const char *name) { return test_env::join(test_env::temp_folder(name), "f.dat"); }

uint32_t live_blocks() {
    uint32_t blocks = 0, bytes = 0;
    GetGlobalUsage(&blocks, &bytes);
    return blocks;
}

std::vector<std::string> names_in(const std::string &dir) {
    std::vector<std::string> names;
    for (const auto &e : std::filesystem::directory_iterator(dir)) names.push_back(e.path().filename().string());
    return names;
}

}  // namespace

// AddRef and Release answer fixed values whatever the count; the last Release closes the file,
// writes the cache and frees the object. Without a place for the answer QueryInterface hands
// out nothing and adds no reference.
TEST(CachedFile, ReferencesAndInterfaces) {
    const GUID own = {0xEA385ED1, 0x338B, 0x4C27, {0x82, 0x7B, 0xEB, 0xA3, 0x38, 0xD4, 0x92, 0x40}};
    const GUID unknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    GUID other = own;
    other.Data4[7] ^= 1;
    ASSERT_EQ(std::memcmp(GetIID_IXFileCached(), &own, sizeof own), 0);
    const int32_t kNoInterface = int32_t(0x80004002u);
    const struct { const GUID *iid; bool out; int32_t hr; } cases[] = {
        {&own, true, 0}, {&unknown, true, 0}, {&other, true, kNoInterface}, {nullptr, true, kNoInterface},
        {&own, false, kNoInterface}, {nullptr, false, kNoInterface},
    };
    const uint32_t before = live_blocks();
    for (const auto &c : cases) {
        IXFileCached *f = CreateIXFileCached();
        ASSERT_NE(f, nullptr);
        void *out = &out;
        EXPECT_EQ(f->lpVtbl->QueryInterface(f, c.iid, c.out ? &out : nullptr), c.hr);
        if (c.out) {
            EXPECT_EQ(out, c.hr == 0 ? static_cast<void *>(f) : nullptr);
        }
        EXPECT_EQ(f->lpVtbl->Release(f), 1);
        EXPECT_EQ(live_blocks(), before + (c.hr == 0 ? 1 : 0)) << "the answer holds its own reference";
        if (c.hr == 0) f->lpVtbl->Release(f);
        EXPECT_EQ(live_blocks(), before);
    }

    const std::string path = new_path("xfc_release");
    IXFileCached *f = CreateIXFileCached();
    EXPECT_EQ(f->lpVtbl->AddRef(f), 2);
    EXPECT_EQ(f->lpVtbl->AddRef(f), 2) << "third reference";
    EXPECT_EQ(f->lpVtbl->Release(f), 1);
    EXPECT_EQ(f->lpVtbl->Release(f), 1);
    EXPECT_EQ(live_blocks(), before + 1) << "one reference left";
    ASSERT_EQ(f->lpVtbl->Create(f, path.c_str()), 1);
    ASSERT_EQ(f->lpVtbl->WriteLine(f, "hello"), 1);
    EXPECT_EQ(harness::read_file(path), "");
    EXPECT_EQ(f->lpVtbl->Release(f), 1) << "also when the object goes";
    EXPECT_EQ(harness::read_file(path), "hello\r\n");
}

TEST(CachedFile, PositionsAndCountsAtTheirLimits) {
    Cached f;
    ASSERT_EQ(f->Create(f.o, new_path("xfc_limits").c_str()), 1);
    const char data[] = "0123456789";
    const struct { const char *buffer; int32_t count, result; } writes[] = {
        {data, 0, 1}, {data, -1, 0}, {nullptr, 0, 1}, {nullptr, 5, 0}, {data, 3, 1},
    };
    for (const auto &c : writes) EXPECT_EQ(f->Write(f.o, c.buffer, c.count), c.result) << c.count;

    // Seeks reach the end but not beyond it; a failed one leaves the position.
    const struct { int32_t to, ok; uint32_t posAfter; } seeks[] = {
        {3, 1, 3}, {4, 0, 3}, {-1, 0, 3}, {0, 1, 0}, {INT32_MIN, 0, 0}, {2, 1, 2},
    };
    for (const auto &c : seeks) {
        EXPECT_EQ(f.seek(c.to), c.ok) << c.to;
        EXPECT_EQ(f.pos(), c.posAfter) << c.to;
    }
    unsigned char b = 0;
    ASSERT_EQ(f.seek(3), 1);
    EXPECT_EQ(f.get(&b), 0) << "nothing to get at the end";
    EXPECT_EQ(f.put('3'), 1) << "putting at the end grows the file";
    EXPECT_EQ(f.seek(5), 0);
    ASSERT_EQ(f->Write(f.o, data + 4, 6), 1);
    EXPECT_EQ(f.size(), 10u);

    char buf[16] = {};
    const struct { int32_t at; char *buffer; int32_t count, result; } reads[] = {
        {0, nullptr, 5, 0}, {0, buf, 0, 0}, {0, buf, -1, 0}, {0, buf, 4, 4}, {7, buf, 10, 3}, {10, buf, 1, 0},
    };
    for (const auto &c : reads) {
        ASSERT_EQ(f.seek(c.at), 1);
        EXPECT_EQ(f->Read(f.o, c.buffer, c.count), c.result) << c.at << "+" << c.count;
    }
    EXPECT_EQ(f->ReadAt(f.o, 6, buf, 4), 1);
    EXPECT_EQ(std::string(buf, 4), "6789");
    EXPECT_EQ(f->ReadAt(f.o, 7, buf, 4), 0) << "only three bytes there";
    EXPECT_EQ(f->ReadAt(f.o, 11, buf, 1), 0) << "beyond the end";
    EXPECT_EQ(f->WriteAt(f.o, 11, "x", 1), 0) << "beyond the end";
    EXPECT_EQ(f->WriteAt(f.o, 8, "XYZ", 3), 1) << "over the end";
    // A null byte pointer gets and puts nothing, in the middle of the block the cursor stands in
    // (after a byte) and where a lookup is due (after a seek).
    for (const int32_t at : {2, 11}) {
        for (const bool placed : {true, false}) {
            ASSERT_EQ(f.seek(placed ? at - 1 : at), 1);
            if (placed) ASSERT_EQ(f.get(&b), 1);
            EXPECT_EQ(f->GetByte(f.o, nullptr), 0) << at;
            EXPECT_EQ(f->PutByte(f.o, nullptr), 0) << at;
            EXPECT_EQ(f.pos(), uint32_t(at)) << at;
        }
    }
    EXPECT_EQ(f.read_all(), "01234567XYZ");
}

TEST(CachedFile, ReadOnlyObjectRefusesEveryChange) {
    const std::string dir = test_env::temp_folder("xfc_readonly"), path = test_env::join(dir, "ro.dat");
    harness::write_file(path, "data");
    Cached f;
    EXPECT_EQ(f->Open(f.o, test_env::join(dir, "missing.dat").c_str(), 0), 0);
    EXPECT_EQ(f->IsOpen(f.o), 0);
    ASSERT_EQ(f->Open(f.o, path.c_str(), 0), 1);
    EXPECT_NE(f->IsOpen(f.o), 0);
    EXPECT_EQ(f.size(), 4u);
    EXPECT_EQ(f->Write(f.o, "x", 1), 0);
    EXPECT_EQ(f->Write(f.o, "x", 0), 0) << "read-only is refused before the count is judged";
    EXPECT_EQ(f.put('x'), 0);
    EXPECT_EQ(f->WriteAt(f.o, 4, "x", 1), 0);
    EXPECT_EQ(f->WriteLine(f.o, "x"), 0);
    EXPECT_EQ(f->Truncate(f.o), 0);
    unsigned char b = 0;
    ASSERT_EQ(f.seek(0), 1);
    EXPECT_EQ(f.get(&b), 1);
    EXPECT_EQ(f.put('x'), 0) << "also right after a byte of the same block was read";
    EXPECT_EQ(f->Close(f.o), 1);
    EXPECT_EQ(harness::read_file(path), "data");
}

TEST(CachedFile, RoundTripAcrossManyBlocksWithRandomSeeks) {
    const std::string path = new_path("xfc_roundtrip");
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    std::vector<unsigned char> model;
    std::mt19937 rng(20240601);
    auto below = [&](uint32_t n) { return uint32_t(rng() % n); };
    for (int step = 0; step < 1500; ++step) {
        // Every other step goes on where the last one stopped.
        uint32_t at = f.pos();
        if (below(2)) {
            at = below(uint32_t(model.size()) + 1);
            ASSERT_EQ(f.seek(int32_t(at)), 1);
        }
        const uint32_t op = below(10);
        if (op < 4 && model.size() < 30 * kBlock) {  // put a run, byte by byte or at once
            std::vector<unsigned char> run(1 + below(3 * kBlock));
            for (auto &b : run) b = static_cast<unsigned char>(rng());
            for (size_t i = 0; op < 2 && i < run.size(); ++i) ASSERT_EQ(f.put(run[i]), 1) << "step " << step;
            if (op >= 2) ASSERT_EQ(f->Write(f.o, run.data(), int32_t(run.size())), 1) << "step " << step;
            if (at + run.size() > model.size()) model.resize(at + run.size());
            std::copy(run.begin(), run.end(), model.begin() + at);
        } else if (op < 8) {  // get a run, byte by byte or at once
            const uint32_t n = 1 + below(2 * kBlock), expect = std::min<uint32_t>(n, uint32_t(model.size()) - at);
            std::vector<unsigned char> got(n);
            uint32_t k = 0;
            if (op < 6) {
                while (k < n && f.get(&got[k])) ++k;
            } else {
                k = uint32_t(f->Read(f.o, got.data(), int32_t(n)));
            }
            ASSERT_EQ(k, expect) << "step " << step;
            ASSERT_TRUE(std::equal(got.begin(), got.begin() + expect, model.begin() + at)) << "step " << step;
        } else if (op == 8 && model.size() > 20 * kBlock) {  // cut the file, once it spans enough blocks
            ASSERT_EQ(f->Truncate(f.o), 1);
            model.resize(at);
        } else if (op == 9) {  // close, reopen, and the file starts over with fresh blocks
            ASSERT_EQ(f->Close(f.o), 1);
            ASSERT_EQ(f->Open(f.o, path.c_str(), 1), 1) << "step " << step;
            ASSERT_EQ(f.size(), model.size()) << "step " << step;
        }
    }
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(harness::read_file(path) == std::string(model.begin(), model.end()));
}

// Block 0 and two more blocks are held; appending moves the upper one on, below it the lower one
// slides. Data reach the disk only when their block is replaced or on Close.
TEST(CachedFile, DataReachTheDiskOnlyOnReplacementOrClose) {
    const std::string path = new_path("xfc_disk");
    const std::string data = pattern(5 * kBlock - 100), zeros(2 * kBlock, '\0');
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f->Write(f.o, data.data(), 3 * kBlock), 1);
    EXPECT_EQ(harness::read_file(path), "") << "three blocks are held in memory";
    ASSERT_EQ(f.put(static_cast<unsigned char>(data[3 * kBlock])), 1);
    EXPECT_TRUE(harness::read_file(path) == zeros + data.substr(2 * kBlock, kBlock))
        << "the upper block made room for the fourth; block 0 and the lower block are still in memory";
    ASSERT_EQ(f.write(data.substr(3 * kBlock + 1)), 1);
    ASSERT_TRUE(harness::read_file(path) == zeros + data.substr(2 * kBlock, 2 * kBlock));
    unsigned char b = 0;
    for (const int32_t at : {2 * kBlock + 1, kBlock + 1, 2 * kBlock + 2}) {
        ASSERT_EQ(f.seek(at), 1);
        ASSERT_EQ(f.get(&b), 1) << at;
        EXPECT_EQ(b, static_cast<unsigned char>(data[size_t(at)])) << at;
    }
    EXPECT_TRUE(harness::read_file(path) == std::string(kBlock, '\0') + data.substr(kBlock, 3 * kBlock))
        << "only the lower block was written back; the upper one still holds the end";
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(harness::read_file(path) == data);
}

TEST(CachedFile, CloseStopsAtTheFirstFailingBlock) {
    const std::string path = new_path("xfc_closefail");
    const std::string data = pattern(3 * kBlock);
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f.write(data), 1);
    {
        harness::Fault fault("WriteFile", 2, harness::kDiskFull);  // block 0 goes out, the lower block fails
        EXPECT_EQ(f->Close(f.o), 0);
    }
    EXPECT_EQ(f->IsOpen(f.o), 0) << "the handle is closed all the same";
    EXPECT_TRUE(harness::read_file(path) == data.substr(0, kBlock)) << "the upper block was not tried";
}

// A write-back that fails makes the byte operation fail; the block keeps its bytes and stays
// dirty, so the retry and Close still write everything.
TEST(CachedFile, FailedWriteBackKeepsTheBlockAsItWas) {
    const struct { const char *call; bool get; } cases[] = {
        {"WriteFile", false}, {"SetFilePointer", false}, {"WriteFile", true}, {"SetFilePointer", true},
    };
    const std::string path = new_path("xfc_writeback");
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.call) + (c.get ? " on GetByte" : " on PutByte"));
        Cached f;
        ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
        // PutByte at 3 blocks replaces the dirty upper block; GetByte in the third block of a
        // file of five replaces the dirty lower block.
        std::string data = pattern(c.get ? 5 * kBlock - 100 : 3 * kBlock);
        ASSERT_EQ(f.write(data), 1);
        const int32_t at = c.get ? 2 * kBlock + 500 : 3 * kBlock;
        ASSERT_EQ(f.seek(at), 1);
        const std::string before = harness::read_file(path);
        unsigned char b = 0;
        {
            harness::Fault fault(c.call, 1, harness::kDiskFull);
            EXPECT_EQ(c.get ? f.get(&b) : f.put('!'), 0);
        }
        EXPECT_EQ(f.pos(), uint32_t(at));
        EXPECT_EQ(f.size(), data.size());
        EXPECT_TRUE(harness::read_file(path) == before) << "nothing reached the disk";
        ASSERT_EQ(c.get ? f.get(&b) : f.put('!'), 1) << "the retry works";
        if (c.get) {
            EXPECT_EQ(b, static_cast<unsigned char>(data[size_t(at)]));
        } else {
            data += '!';
        }
        ASSERT_EQ(f->Close(f.o), 1);
        EXPECT_TRUE(harness::read_file(path) == data);
    }
}

TEST(CachedFile, FailedBlockReadMakesTheByteFailAndCanBeRetried) {
    const struct { const char *call; int32_t at; } cases[] = {
        {"ReadFile", 0},                  // block 0
        {"ReadFile", kBlock + 9},         // the lower block at its start base
        {"ReadFile", 2 * kBlock + 1},     // the upper block at its start base
        {"ReadFile", 3 * kBlock + 17},    // the upper block replaced
        {"SetFilePointer", 3 * kBlock},
    };
    const std::string path = new_path("xfc_readfail"), data = pattern(4 * kBlock - 3);
    harness::write_file(path, data);
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.call) + " at " + std::to_string(c.at));
        Cached f;
        ASSERT_EQ(f->Open(f.o, path.c_str(), 0), 1);
        ASSERT_EQ(f.seek(c.at), 1);
        unsigned char b = 0;
        {
            harness::Fault fault(c.call, 1, harness::kDiskFull);
            EXPECT_EQ(f.get(&b), 0);
        }
        EXPECT_EQ(f.pos(), uint32_t(c.at));
        ASSERT_EQ(f.get(&b), 1);
        EXPECT_EQ(b, static_cast<unsigned char>(data[size_t(c.at)]));
        EXPECT_TRUE(f.read_all() == data);
    }
}

// The line end is written even when the text's write fails, and is the result: the text stops
// where a block could not be written back, the retry of that write-back for the line end works.
// Truncate ends the file at the position.
TEST(CachedFile, WriteLineAndTruncate) {
    const std::string path = new_path("xfc_writeline"), data = pattern(5 * kBlock);
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f.write(data.substr(0, 3 * kBlock)), 1);
    {
        harness::Fault fault("WriteFile", 1, harness::kDiskFull);  // the upper block's write-back
        EXPECT_EQ(f->WriteLine(f.o, "abc"), 1);
    }
    EXPECT_EQ(f->WriteLine(f.o, nullptr), 1);
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(harness::read_file(path) == data.substr(0, 3 * kBlock) + "\r\n\r\n");

    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f.write(data), 1);
    ASSERT_EQ(f.seek(4990), 1);
    unsigned char b = 0;
    for (int i = 0; i < 10; ++i) ASSERT_EQ(f.get(&b), 1);
    ASSERT_EQ(f->Truncate(f.o), 1);
    EXPECT_EQ(f.get(&b), 0) << "nothing behind the cut";
    EXPECT_EQ(f.size(), 5000u);
    EXPECT_EQ(f.seek(5001), 0);
    ASSERT_EQ(f.seek(5000), 1);
    ASSERT_EQ(f.put('Z'), 1);
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(harness::read_file(path) == data.substr(0, 5000) + "Z");
}

// The temporary file keeps its name while open and is gone after Close. Two made within one
// second get the same name, and the second creation truncates the first one's file: what the
// first had written to disk is gone, so reading it back finds the file ending before it and the
// block keeps what it held (the bytes of the block before).
TEST(CachedFile, TwoTemporaryFilesOfOneSecondShareTheirFile) {
    const std::string dir = test_env::temp_folder("xfc_temp_twice");
    test_env::set_temp_folder(dir);
    const std::string data = pattern(4 * kBlock + 5);
    bool checked = false;
    for (int attempt = 0; attempt < 10 && !checked; ++attempt) {
        const time_t before = std::time(nullptr);
        Cached first, second;
        ASSERT_EQ(first->CreateTemp(first.o), 1);
        // The upper block moves on twice: the third and the fourth block reach the disk.
        ASSERT_EQ(first.write(data), 1);
        ASSERT_EQ(second->CreateTemp(second.o), 1);
        if (std::time(nullptr) != before) continue;  // a new second began: both go, try again
        checked = true;
        EXPECT_EQ(names_in(dir), std::vector<std::string>{tarn::xfiles::cached_temp_name_in("", uint64_t(before), 0)});
        std::string back(size_t(kBlock), '\0');
        ASSERT_EQ(first.seek(2 * kBlock), 1);
        EXPECT_EQ(first->Read(first.o, &back[0], kBlock), kBlock);
        EXPECT_TRUE(back == data.substr(kBlock, kBlock)) << "the third block was not read back";
        EXPECT_EQ(second.size(), 0u);
        EXPECT_EQ(first->Close(first.o), 1);
        EXPECT_EQ(second->Close(second.o), 1);
        EXPECT_TRUE(names_in(dir).empty());
    }
    test_env::set_temp_folder("");
    EXPECT_TRUE(checked) << "no two creations fell into one second";
}

// Lines of the cached file: CR is dropped, and only a CR counts against the size. Below 2 the
// zero byte is stored whatever the size and nothing is taken.
TEST(CachedFile, ReadLineDropsCrAndOnlyCrCountsAgainstTheSize) {
    const struct { const char *text; int32_t size; std::vector<std::string> lines; } cases[] = {
        {"one\r\ntwo\nthree", 64, {"one", "two", "three"}},
        {"\n\nx\n", 64, {"", "", "x"}},
        {"ab\rcd\n", 3, {"abcd"}},                 // a CR inside the line is dropped
        {"ab\rcd\n", 2, {"ab", "cd"}},             // ... but with size 2 it ends the line
        {"ab\r\ncd\r\n", 2, {"ab", "", "cd", ""}}, // and leaves the LF for the next call
        {"0123456789abcdef\n", 4, {"0123456789abcdef"}},  // ordinary bytes never count
        {"", 64, {}}, {"abc\n", 1, {}}, {"abc\n", 0, {}}, {"abc\n", -5, {}},
    };
    const std::string path = new_path("xfc_readline");
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(std::string(c.text)) + " size " + std::to_string(c.size));
        Cached f;
        ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
        ASSERT_EQ(f.write(c.text), 1);
        ASSERT_EQ(f.seek(0), 1);
        std::vector<std::string> got;
        char buf[64];
        while (got.size() < 10) {
            std::memset(buf, 'x', sizeof buf);
            if (!f->ReadLine(f.o, buf, c.size)) break;
            got.emplace_back(buf);
        }
        EXPECT_EQ(got, c.lines);
        EXPECT_EQ(buf[0], '\0') << "the failing call leaves an empty text";
        if (c.size < 2) {
            EXPECT_EQ(buf[1], 'x') << "only the zero byte is stored";
            EXPECT_EQ(f->ReadLine(f.o, nullptr, c.size), 0);
            EXPECT_EQ(f.pos(), 0u);
        }
    }
}

TEST(LineSources, MemoryTextSkipsEmptyLinesAndCutsLongOnes) {
    const struct { const char *text; int32_t size; std::vector<std::string> lines; } cases[] = {
        {"a\r\n\r\nb", 16, {"a", "b"}},
        {"line\r", 16, {"line"}},
        {"\n\nx", 16, {"", "x"}},               // a run at the very start still ends one line
        {"abcdef", 4, {"abc", "def"}},           // cut, the rest comes next
        {"abc\ndef", 4, {"abc", "", "def"}},     // cut right before the line end
        {"", 16, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(std::string(c.text)) + " size " + std::to_string(c.size));
        tarn::wmfXFILE_mem source(c.text);
        tarn::wmfXFILE &lines = source;
        std::vector<std::string> got;
        char buf[16];
        while (got.size() < 10 && lines.read_line(buf, c.size)) got.emplace_back(buf);
        EXPECT_EQ(got, c.lines);
    }
    // Below 2 an empty text is stored whatever the size, and the text does not move on.
    tarn::wmfXFILE_mem source("ab");
    char buf[8] = "zzzzzzz";
    for (const int32_t size : {1, 0, -5}) {
        buf[0] = 'z';
        EXPECT_EQ(source.read_line(buf, size), 1) << size;
        EXPECT_EQ(std::string(buf, 2), std::string("\0z", 2)) << size;
        EXPECT_EQ(source.read_line(nullptr, size), 1) << size;
    }
    ASSERT_EQ(source.read_line(buf, 8), 1);
    EXPECT_STREQ(buf, "ab");
    EXPECT_EQ(source.read_line(buf, 8), 0);
    EXPECT_EQ(tarn::wmfXFILE_mem(nullptr).read_line(buf, 8), 0);
}

TEST(LineSources, FileLinesAreAlwaysTerminated) {
    const std::string path = new_path("xfc_phy");
    harness::write_file(path, "one\r\ntwo\nab\rcd\nlast");
    const HANDLE h = X_Open(path.c_str(), 0);
    ASSERT_NE(h, TARN_INVALID_HANDLE);
    tarn::wmfXFILE_phy source(h);
    tarn::wmfXFILE &lines = source;
    std::vector<std::string> got;
    char buf[32];
    for (;;) {
        std::memset(buf, 'x', sizeof buf);
        if (got.size() > 10 || !lines.read_line(buf, sizeof buf)) break;
        got.emplace_back(buf);
    }
    EXPECT_EQ(got, (std::vector<std::string>{"one", "two", "ab", "last"}));
    X_Close(h);
}
