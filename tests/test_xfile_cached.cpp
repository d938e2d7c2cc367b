// The block-cached file object through its C interface table, and the two line sources.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "files/line_sources.h"
#include "harness.h"

namespace {

constexpr int32_t kBlock = 8192;

// One reference to a cached file, called the way a C caller does.
struct Cached {
    IXFileCached *o = CreateIXFileCached();
    ~Cached() { o->lpVtbl->Release(o); }
    const IXFileCachedVtbl *operator->() const { return o->lpVtbl; }
    int32_t put(unsigned char b) { return o->lpVtbl->PutByte(o, &b); }
    int32_t get(unsigned char *b) { return o->lpVtbl->GetByte(o, b); }
    int32_t write(const std::string &s) { return o->lpVtbl->Write(o, s.data(), int32_t(s.size())); }
    int32_t seek(int32_t p) { return o->lpVtbl->Seek(o, p); }
    uint32_t pos() { return o->lpVtbl->GetPos(o); }
    uint32_t size() { return o->lpVtbl->GetSize(o); }
    std::string read_all() {
        std::string s(size(), '\0');
        return seek(0) && o->lpVtbl->Read(o, &s[0], int32_t(s.size())) == int32_t(s.size()) ? s : "<short read>";
    }
};

// Bytes whose value tells their position apart within and across blocks.
std::string pattern(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = char((i * 7 + i / kBlock * 13) & 0xFF);
    return s;
}

std::string new_path(const char *name) { return test_env::join(test_env::temp_folder(name), "f.dat"); }

// Text read line by line with a size argument, and the lines expected.
struct LinesCase {
    const char *text;
    int32_t size;
    std::vector<std::string> lines;
};

// The lines `next` gives into `buf` (64 places, refilled with 'x' before each call), at most 10.
template <class Next>
std::vector<std::string> lines_of(char *buf, Next next) {
    std::vector<std::string> got;
    while (got.size() < 10 && (std::memset(buf, 'x', 64), next(buf))) got.emplace_back(buf);
    return got;
}

}  // namespace

// AddRef and Release answer fixed values; the last Release writes the cache and frees the object.
TEST(CachedFile, ReferencesAndInterfaces) {
    const GUID own = {0xEA385ED1, 0x338B, 0x4C27, {0x82, 0x7B, 0xEB, 0xA3, 0x38, 0xD4, 0x92, 0x40}};
    GUID other = own, unknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    other.Data4[7] ^= 1;
    const int32_t kNo = int32_t(0x80004002u);
    const struct {
        const GUID *iid;
        bool out;
        int32_t hr;
    } cases[] = {{&own, true, 0}, {&unknown, true, 0}, {&other, true, kNo}, {nullptr, true, kNo}, {&own, false, kNo}};
    const uint32_t before = harness::tracked_memory().first;
    for (const auto &c : cases) {
        IXFileCached *f = CreateIXFileCached();
        void *out = &out;
        EXPECT_EQ(f->lpVtbl->QueryInterface(f, c.iid, c.out ? &out : nullptr), c.hr);
        if (c.out) EXPECT_EQ(out, c.hr == 0 ? static_cast<void *>(f) : nullptr);
        EXPECT_EQ(f->lpVtbl->Release(f), 1);
        EXPECT_EQ(harness::tracked_memory().first, before + uint32_t(c.hr == 0))
            << "the answer holds its own reference";
        if (c.hr == 0) f->lpVtbl->Release(f);
    }
    const std::string path = new_path("xfc_release");
    IXFileCached *f = CreateIXFileCached();
    ASSERT_EQ(f->lpVtbl->Create(f, path.c_str()), 1);
    ASSERT_EQ(f->lpVtbl->WriteLine(f, "hello"), 1);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(f->lpVtbl->AddRef(f), 2) << "also for the third reference";
    for (int i = 0; i < 2; ++i) EXPECT_EQ(f->lpVtbl->Release(f), 1);
    EXPECT_EQ(harness::read_file(path), "");
    EXPECT_EQ(f->lpVtbl->Release(f), 1) << "also when the object goes";
    EXPECT_EQ(harness::read_file(path), "hello\r\n");
    EXPECT_EQ(harness::tracked_memory().first, before);
}

// Read-only, every change is refused, also right after a byte of the same block was read.
TEST(CachedFile, PositionsAndCountsAtTheirLimitsAndReadOnly) {
    const std::string path = new_path("xfc_limits");
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    const char data[] = "0123456789";
    const struct {
        const char *buffer;
        int32_t count, result;
    } writes[] = {{data, -1, 0}, {nullptr, 0, 1}, {nullptr, 5, 0}, {data, 3, 1}};
    for (const auto &c : writes) EXPECT_EQ(f->Write(f.o, c.buffer, c.count), c.result) << c.count;
    EXPECT_EQ(f.seek(4) + f.seek(-1), 0) << "seeks reach the end but not beyond it";
    EXPECT_EQ(f.pos(), 3u) << "a failed seek leaves the position";
    unsigned char b = 0;
    EXPECT_EQ(f.get(&b), 0) << "nothing to get at the end";
    EXPECT_EQ(f.put('3'), 1) << "putting at the end grows the file";
    ASSERT_EQ(f->Write(f.o, data + 4, 6), 1);
    char buf[16] = {};
    const struct {
        char *buffer;
        int32_t at, count, result;
    } reads[] = {{nullptr, 0, 5, 0}, {buf, 0, 0, 0}, {buf, 7, 10, 3}, {buf, 10, 1, 0}};
    for (const auto &c : reads) {
        ASSERT_EQ(f.seek(c.at), 1);
        EXPECT_EQ(f->Read(f.o, c.buffer, c.count), c.result) << c.at << "+" << c.count;
    }
    EXPECT_EQ(f->ReadAt(f.o, 7, buf, 4), 0) << "only three bytes there";
    EXPECT_EQ(f->WriteAt(f.o, 11, "x", 1), 0) << "beyond the end";
    EXPECT_EQ(f->WriteAt(f.o, 8, "XYZ", 3), 1) << "over the end";
    // A null byte pointer gets and puts nothing, with the cursor in a block (odd) or after a seek.
    for (const int32_t at : {1, 2, 10, 11}) {
        ASSERT_EQ(f.seek(at & ~1), 1);
        if (at & 1) ASSERT_EQ(f.get(&b), 1);
        EXPECT_EQ(f->GetByte(f.o, nullptr) + f->PutByte(f.o, nullptr), 0) << at;
        EXPECT_EQ(f.pos(), uint32_t(at)) << at;
    }
    EXPECT_EQ(f.read_all(), "01234567XYZ");

    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_EQ(f->Open(f.o, (path + ".missing").c_str(), 0), 0);
    EXPECT_EQ(f->IsOpen(f.o), 0);
    ASSERT_EQ(f->Open(f.o, path.c_str(), 0), 1);
    EXPECT_EQ(f.get(&b), 1);
    EXPECT_EQ(f.put('x'), 0);
    EXPECT_EQ(f->Write(f.o, "x", 0), 0) << "read-only is refused before the count is judged";
    EXPECT_EQ(f->WriteAt(f.o, 4, "x", 1) + f->WriteLine(f.o, "x") + f->Truncate(f.o), 0);
    EXPECT_EQ(f->Close(f.o), 1);
    EXPECT_EQ(harness::read_file(path), "01234567XYZ");
}

TEST(CachedFile, RoundTripAcrossManyBlocksWithRandomSeeks) {
    const std::string path = new_path("xfc_roundtrip");
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    std::vector<unsigned char> model;
    std::mt19937 rng(20240601);
    auto below = [&](uint32_t n) { return uint32_t(rng() % n); };
    for (int step = 0; step < 1500; ++step) {
        SCOPED_TRACE(step);
        uint32_t at = f.pos();  // every other step goes on where the last one stopped
        if (below(2)) ASSERT_EQ(f.seek(int32_t(at = below(uint32_t(model.size()) + 1))), 1);
        const uint32_t op = below(10), n = 1 + below(3 * kBlock);
        std::vector<unsigned char> run(n);
        if (op < 4 && model.size() < 30 * kBlock) {  // put a run, byte by byte or at once
            for (auto &b : run) b = static_cast<unsigned char>(rng());
            for (size_t i = 0; op < 2 && i < n; ++i) ASSERT_EQ(f.put(run[i]), 1);
            if (op >= 2) ASSERT_EQ(f->Write(f.o, run.data(), int32_t(n)), 1);
            if (at + n > model.size()) model.resize(at + n);
            std::copy(run.begin(), run.end(), model.begin() + at);
        } else if (op < 8) {  // get a run, byte by byte or at once
            uint32_t k = op < 6 ? 0 : uint32_t(f->Read(f.o, run.data(), int32_t(n)));
            while (op < 6 && k < n && f.get(&run[k])) ++k;
            ASSERT_EQ(k, std::min<uint32_t>(n, uint32_t(model.size()) - at));
            ASSERT_TRUE(std::equal(run.begin(), run.begin() + k, model.begin() + at));
        } else if (op == 8 && model.size() > 20 * kBlock) {  // cut the file, once it spans enough blocks
            ASSERT_EQ(f->Truncate(f.o), 1);
            model.resize(at);
        } else if (op == 9) {  // close, reopen, and the file starts over with fresh blocks
            ASSERT_EQ(f->Close(f.o), 1);
            ASSERT_EQ(f->Open(f.o, path.c_str(), 1), 1);
            ASSERT_EQ(f.size(), model.size());
        }
    }
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(harness::read_file(path) == std::string(model.begin(), model.end()));
}

// Data reach the disk when a block is replaced or on Close, which stops at the first failing block.
// WriteLine writes the line end also when the text fails, and answers with the line end's result.
// A long Read fetches the blocks it only passes straight from the file; afterwards the object
// must hold the very blocks that GetByte, byte after byte, would have left. The file is then
// changed behind both objects: a byte comes from a block still cached (the old value) or from
// the file (the new one), and both objects must answer alike everywhere. With a dirty upper
// block (`dirty`) the blocks are used as they are, so a failing write-back fails the read.
TEST(CachedFile, LongReadsLeaveTheBlocksAsByteWiseReadsDo) {
    const int32_t size = 12 * kBlock + 100;
    const std::string data = pattern(size_t(size)), changed(size_t(size), '#');
    const struct {
        int32_t at, count;
        bool dirty;
    } cases[] = {{0, size, false},          {3 * kBlock + 5, 5 * kBlock, false}, {4 * kBlock, 2 * kBlock, false},
                 {100, 50, false},          {9 * kBlock - 1, 4 * kBlock, false}, {5 * kBlock, 7 * kBlock + 100, false},
                 {3 * kBlock, 6 * kBlock, true}};
    const std::string whole = new_path("xfc_longread"), bytewise = whole + ".b";
    for (const auto &c : cases) {
        SCOPED_TRACE("at " + std::to_string(c.at) + ", " + std::to_string(c.count) + (c.dirty ? ", dirty" : ""));
        harness::write_file(whole, data);
        harness::write_file(bytewise, data);
        Cached a, b;
        ASSERT_EQ(a->Open(a.o, whole.c_str(), c.dirty), 1);
        ASSERT_EQ(b->Open(b.o, bytewise.c_str(), c.dirty), 1);
        if (c.dirty) {
            for (Cached *f : {&a, &b}) ASSERT_TRUE(f->seek(2 * kBlock + 7) && f->put('!'));
        }
        ASSERT_TRUE(a.seek(c.at) && b.seek(c.at));
        if (c.dirty) {  // the upper block that cannot be written back stops the read at once
            harness::Fault full("WriteFile", 1, harness::kDiskFull);
            std::string none(size_t(c.count), '\0');
            EXPECT_EQ(a->Read(a.o, &none[0], c.count), 0);
        }
        std::string got(size_t(c.count), '\0'), expect;
        const int32_t n = a->Read(a.o, &got[0], c.count);
        for (unsigned char byte; int32_t(expect.size()) < c.count && b.get(&byte);) expect += char(byte);
        ASSERT_EQ(n, int32_t(expect.size()));
        EXPECT_TRUE(got.substr(0, size_t(n)) == expect);
        EXPECT_EQ(a.pos(), b.pos());
        harness::write_file(whole, changed);
        harness::write_file(bytewise, changed);
        std::string seenA, seenB;
        for (int32_t probe = 0; probe < size; probe += kBlock / 2) {
            unsigned char x = 0, y = 0;
            ASSERT_TRUE(a.seek(probe) && a.get(&x) && b.seek(probe) && b.get(&y));
            seenA += char(x);
            seenB += char(y);
        }
        EXPECT_TRUE(seenA == seenB);
    }
}

TEST(CachedFile, DataReachTheDiskOnReplacementOrClose) {
    const std::string path = new_path("xfc_disk"), data = pattern(3 * kBlock), zeros(kBlock, '\0');
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f.write(data), 1);
    EXPECT_EQ(harness::read_file(path), "") << "three blocks are held in memory";
    harness::Fault upperFails("WriteFile", 1, harness::kDiskFull);  // once, the upper block's write-back
    EXPECT_EQ(f->WriteLine(f.o, "abc"), 1);
    EXPECT_EQ(f->WriteLine(f.o, nullptr), 1);
    EXPECT_EQ(f.size(), 3u * kBlock + 4) << "two line ends, no text";
    EXPECT_TRUE(harness::read_file(path) == zeros + zeros + data.substr(2 * kBlock)) << "the upper block made room";
    harness::Fault lowerFails("WriteFile", 2, harness::kDiskFull);  // block 0 goes out, the lower block fails
    EXPECT_EQ(f->Close(f.o), 0);
    EXPECT_EQ(f->IsOpen(f.o), 0) << "the handle is closed all the same";
    EXPECT_TRUE(harness::read_file(path) == data.substr(0, kBlock) + zeros + data.substr(2 * kBlock))
        << "the upper block was not tried";
}

// A block that cannot be written back or read in fails the byte operation and leaves the position;
// a block not written back stays dirty, so the retry and Close still write everything.
TEST(CachedFile, FailedBlockTransferFailsTheByteAndCanBeRetried) {
    const struct {
        const char *call;
        bool put, onDisk;
        int32_t size, at;
    } cases[] = {
        {"WriteFile", true, false, 3 * kBlock, 3 * kBlock},                    // the dirty upper block goes
        {"SetFilePointer", false, false, 5 * kBlock - 100, 2 * kBlock + 500},  // the dirty lower block goes
        {"ReadFile", false, true, 4 * kBlock - 3, 0},
        {"SetFilePointer", false, true, 4 * kBlock - 3, 3 * kBlock},
    };
    const std::string path = new_path("xfc_blockfail");
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.call) + (c.put ? " on PutByte at " : " on GetByte at ") + std::to_string(c.at));
        std::string data = pattern(size_t(c.size));
        Cached f;
        if (c.onDisk) harness::write_file(path, data);
        ASSERT_EQ(c.onDisk ? f->Open(f.o, path.c_str(), 0) : f->Create(f.o, path.c_str()), 1);
        if (!c.onDisk) ASSERT_EQ(f.write(data), 1);
        ASSERT_EQ(f.seek(c.at), 1);
        const std::string before = harness::read_file(path);
        unsigned char b = 0;
        harness::Fault once(c.call, 1, harness::kDiskFull);
        EXPECT_EQ(c.put ? f.put('!') : f.get(&b), 0);
        EXPECT_EQ(f.pos(), uint32_t(c.at));
        EXPECT_TRUE(harness::read_file(path) == before) << "nothing reached the disk";
        ASSERT_EQ(c.put ? f.put('!') : f.get(&b), 1) << "the retry works";
        if (c.put) data += '!';
        else EXPECT_EQ(b, static_cast<unsigned char>(data[size_t(c.at)]));
        EXPECT_TRUE(f.read_all() == data);
        ASSERT_EQ(f->Close(f.o), 1);
        EXPECT_TRUE(harness::read_file(path) == data);
    }
}

// Two temporary files of one second share their name: the second truncates the first one's file,
// so the block read back keeps the bytes it held (those of the block before).
TEST(CachedFile, TwoTemporaryFilesOfOneSecondShareTheirFile) {
    const std::string dir = test_env::temp_folder("xfc_temp_twice"), data = pattern(4 * kBlock + 5);
    test_env::set_temp_folder(dir);
    bool checked = false;
    for (int attempt = 0; attempt < 10 && !checked; ++attempt) {
        const time_t before = std::time(nullptr);
        Cached first, second;
        ASSERT_EQ(first->CreateTemp(first.o), 1);
        ASSERT_EQ(first.write(data), 1);  // the third and the fourth block reach the disk
        ASSERT_EQ(second->CreateTemp(second.o), 1);
        if (std::time(nullptr) != before) continue;  // a new second began: both go, try again
        checked = true;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 1);
        std::string back(size_t(kBlock), '\0');
        ASSERT_EQ(first.seek(2 * kBlock), 1);
        EXPECT_EQ(first->Read(first.o, &back[0], kBlock), kBlock);
        EXPECT_TRUE(back == data.substr(kBlock, kBlock)) << "the third block was not read back";
        EXPECT_EQ(second.size(), 0u);
        EXPECT_EQ(first->Close(first.o), 1);
        EXPECT_EQ(second->Close(second.o), 1);
        EXPECT_TRUE(std::filesystem::is_empty(dir)) << "gone after Close";
    }
    test_env::set_temp_folder("");
    EXPECT_TRUE(checked) << "no two creations fell into one second";
}

// CR is dropped, and only a CR counts against the size; below 2 only the zero byte is stored.
TEST(CachedFile, ReadLineDropsCrAndOnlyCrCountsAgainstTheSize) {
    const LinesCase cases[] = {
        {"one\r\ntwo\n\nthree", 64, {"one", "two", "", "three"}},
        {"ab\rcd\n", 3, {"abcd"}},                        // a CR inside the line is dropped
        {"ab\r\ncd\r\n", 2, {"ab", "", "cd", ""}},        // but with size 2 it ends the line and leaves the LF
        {"0123456789abcdef\n", 4, {"0123456789abcdef"}},  // ordinary bytes never count
        {"abc\n", 1, {}},
    };
    const std::string path = new_path("xfc_readline");
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(std::string(c.text)) + " size " + std::to_string(c.size));
        Cached f;
        ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
        ASSERT_EQ(f.write(c.text), 1);
        ASSERT_EQ(f.seek(0), 1);
        char buf[64];
        EXPECT_EQ(lines_of(buf, [&](char *b) { return f->ReadLine(f.o, b, c.size); }), c.lines);
        EXPECT_EQ(buf[0], '\0') << "the failing call leaves an empty text";
        if (c.size < 2) EXPECT_TRUE(buf[1] == 'x' && f.pos() == 0) << "only the zero byte is stored, in place";
    }
}

// The memory text skips empty lines and cuts long ones; below 2 it stores an empty text and does
// not move on. The file's lines are always terminated.
TEST(LineSources, MemoryAndFileLines) {
    const LinesCase cases[] = {
        {"a\r\n\r\nb", 16, {"a", "b"}},
        {"\n\nx", 16, {"", "x"}},             // a run at the very start still ends one line
        {"abc\ndef", 4, {"abc", "", "def"}},  // cut, the rest comes next, even right before the line end
        {"ab", 1, std::vector<std::string>(10, "")},
        {nullptr, 16, {}},
    };
    char buf[64];
    for (const auto &c : cases) {
        tarn::wmfXFILE_mem source(c.text);
        EXPECT_EQ(lines_of(buf, [&](char *b) { return source.read_line(b, c.size); }), c.lines) << c.size;
    }
    const std::string path = new_path("xfc_phy");
    harness::write_file(path, "one\r\ntwo\nab\rcd\nlast");
    tarn::wmfXFILE_phy file(X_Open(path.c_str(), 0));
    EXPECT_EQ(lines_of(buf, [&](char *b) { return file.read_line(b, 32); }),
              (std::vector<std::string>{"one", "two", "ab", "last"}));
    X_Close(file.handle());
}
