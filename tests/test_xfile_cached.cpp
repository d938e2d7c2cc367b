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
        if (!seek(0) || o->lpVtbl->Read(o, &s[0], int32_t(s.size())) != int32_t(s.size()))
            return "<short read>";
        return s;
    }
};

// Bytes whose value tells their position apart within and across blocks.
std::string pattern(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = char((i * 7 + i / kBlock * 13) & 0xFF);
    return s;
}

// What the disk holds, read through a second handle.
std::string on_disk(const std::string &path) {
    const HANDLE h = X_Open(path.c_str(), 0);
    if (h == TARN_INVALID_HANDLE) return "<cannot open>";
    std::string s(size_t(X_Seek(h, 0, 2)), '\0');
    X_Seek(h, 0, 0);
    if (!s.empty() && X_lRead(h, &s[0], int32_t(s.size())) != int32_t(s.size())) s = "<short read>";
    X_Close(h);
    return s;
}

void put_on_disk(const std::string &path, const std::string &bytes) {
    const HANDLE h = X_Creat(path.c_str());
    ASSERT_NE(h, TARN_INVALID_HANDLE);
    ASSERT_EQ(X_lWrite(h, bytes.data(), int32_t(bytes.size())), int32_t(bytes.size()));
    X_Close(h);
}

uint32_t live_blocks() {
    uint32_t blocks = 0, bytes = 0;
    GetGlobalUsage(&blocks, &bytes);
    return blocks;
}

// Arms a failing system call for one scope; disarmed however the scope ends.
struct Fault {
    const char *name;
    Fault(const char *n, int32_t nth) : name(n) { EXPECT_EQ(tarnSetSysCallFault(n, nth, 112), 1); }
    ~Fault() { disarm(); }
    void disarm() { tarnSetSysCallFault(name, 0, 0); }
};

}  // namespace

TEST(CachedFile, QueryInterfaceKnowsItsOwnAndIUnknown) {
    const GUID own = {0xEA385ED1, 0x338B, 0x4C27, {0x82, 0x7B, 0xEB, 0xA3, 0x38, 0xD4, 0x92, 0x40}};
    const GUID unknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    GUID other = own;
    other.Data4[7] ^= 1;
    ASSERT_EQ(std::memcmp(GetIID_IXFileCached(), &own, sizeof own), 0);
    const struct { const GUID *iid; int32_t hr; } cases[] = {
        {&own, 0}, {&unknown, 0}, {&other, int32_t(0x80004002u)}, {nullptr, int32_t(0x80004002u)},
    };
    for (const auto &c : cases) {
        const uint32_t before = live_blocks();
        IXFileCached *f = CreateIXFileCached();
        ASSERT_NE(f, nullptr);
        void *out = &out;
        EXPECT_EQ(f->lpVtbl->QueryInterface(f, c.iid, &out), c.hr);
        EXPECT_EQ(out, c.hr == 0 ? static_cast<void *>(f) : nullptr);
        f->lpVtbl->Release(f);
        if (c.hr == 0) {
            EXPECT_EQ(live_blocks(), before + 1) << "the answer holds its own reference";
            f->lpVtbl->Release(f);
        }
        EXPECT_EQ(live_blocks(), before);
    }
}

// With no place for the answer nothing is handed out and no reference is added.
TEST(CachedFile, QueryInterfaceWithoutOutPointerFindsNoInterface) {
    const uint32_t before = live_blocks();
    IXFileCached *f = CreateIXFileCached();
    ASSERT_NE(f, nullptr);
    for (const GUID *iid : {GetIID_IXFileCached(), static_cast<const GUID *>(nullptr)})
        EXPECT_EQ(f->lpVtbl->QueryInterface(f, iid, nullptr), int32_t(0x80004002u));
    f->lpVtbl->Release(f);
    EXPECT_EQ(live_blocks(), before) << "the one reference was the last";
}

TEST(CachedFile, AddRefAndReleaseAnswerFixedValues) {
    const uint32_t before = live_blocks();
    IXFileCached *f = CreateIXFileCached();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(live_blocks(), before + 1);
    EXPECT_EQ(f->lpVtbl->AddRef(f), 2);
    EXPECT_EQ(f->lpVtbl->AddRef(f), 2) << "third reference";
    EXPECT_EQ(f->lpVtbl->Release(f), 1);
    EXPECT_EQ(f->lpVtbl->Release(f), 1);
    EXPECT_EQ(live_blocks(), before + 1) << "one reference left";
    EXPECT_EQ(f->lpVtbl->Release(f), 1) << "also when the object goes";
    EXPECT_EQ(live_blocks(), before);
}

TEST(CachedFile, LastReleaseClosesAndWritesTheCache) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_release"), "r.dat");
    IXFileCached *f = CreateIXFileCached();
    ASSERT_EQ(f->lpVtbl->Create(f, path.c_str()), 1);
    ASSERT_EQ(f->lpVtbl->WriteLine(f, "hello"), 1);
    EXPECT_EQ(on_disk(path), "");
    f->lpVtbl->Release(f);
    EXPECT_EQ(on_disk(path), "hello\r\n");
}

TEST(CachedFile, SeekReachesTheEndButNotBeyond) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_seek"), "s.dat");
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f.write("abc"), 1);
    const struct { int32_t to; int32_t ok; uint32_t posAfter; } cases[] = {
        {3, 1, 3}, {4, 0, 3}, {-1, 0, 3}, {0, 1, 0}, {INT32_MIN, 0, 0}, {2, 1, 2},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(f.seek(c.to), c.ok) << c.to;
        EXPECT_EQ(f.pos(), c.posAfter) << c.to;
    }
    unsigned char b = 0;
    ASSERT_EQ(f.seek(3), 1);
    EXPECT_EQ(f.get(&b), 0) << "nothing to get at the end";
    EXPECT_EQ(f.put('d'), 1) << "putting at the end grows the file";
    EXPECT_EQ(f.seek(4), 1);
    EXPECT_EQ(f.seek(5), 0);
    EXPECT_EQ(f.size(), 4u);
    EXPECT_EQ(f.read_all(), "abcd");
}

TEST(CachedFile, CountsOfWriteReadAndTheirPositionedForms) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_counts"), "c.dat");
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    const char data[] = "0123456789";
    const struct { const char *buffer; int32_t count; int32_t result; } writes[] = {
        {data, 0, 1}, {data, -1, 0}, {nullptr, 0, 1}, {nullptr, 5, 0}, {data, 10, 1},
    };
    for (const auto &c : writes)
        EXPECT_EQ(f->Write(f.o, c.buffer, c.count), c.result) << c.count;
    EXPECT_EQ(f.size(), 10u);

    char buf[16] = {};
    const struct { int32_t at; char *buffer; int32_t count; int32_t result; } reads[] = {
        {0, nullptr, 5, 0}, {0, buf, 0, 0}, {0, buf, -1, 0}, {0, buf, 4, 4}, {7, buf, 10, 3},
        {10, buf, 1, 0},
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
    EXPECT_EQ(f.read_all(), "01234567XYZ");
}

TEST(CachedFile, ReadOnlyObjectRefusesEveryChange) {
    const std::string dir = test_env::temp_folder("xfc_readonly");
    const std::string path = test_env::join(dir, "ro.dat");
    put_on_disk(path, "data");
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
    EXPECT_EQ(b, 'd');
    EXPECT_EQ(f.put('x'), 0) << "also right after a byte of the same block was read";
    EXPECT_EQ(f->Close(f.o), 1);
    EXPECT_EQ(on_disk(path), "data");
}

TEST(CachedFile, RoundTripAcrossManyBlocksWithRandomSeeks) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_roundtrip"), "rt.dat");
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    std::vector<unsigned char> model;
    std::mt19937 rng(20240601);
    auto below = [&](uint32_t n) { return uint32_t(rng() % n); };
    const uint32_t kLimit = 30 * kBlock;

    for (int step = 0; step < 1500; ++step) {
        // Every other step goes on where the last one stopped.
        uint32_t at = f.pos();
        if (below(2)) {
            at = below(uint32_t(model.size()) + 1);
            ASSERT_EQ(f.seek(int32_t(at)), 1);
        }
        const uint32_t op = below(10);
        if (op < 4 && model.size() < kLimit) {  // put a run, byte by byte or at once
            const uint32_t n = 1 + below(3 * kBlock);
            std::vector<unsigned char> run(n);
            for (auto &b : run) b = static_cast<unsigned char>(rng());
            if (op < 2) {
                for (unsigned char b : run) ASSERT_EQ(f.put(b), 1) << "step " << step;
            } else {
                ASSERT_EQ(f->Write(f.o, run.data(), int32_t(n)), 1) << "step " << step;
            }
            if (at + n > model.size()) model.resize(at + n);
            std::copy(run.begin(), run.end(), model.begin() + at);
        } else if (op < 8) {  // get a run, byte by byte or at once
            const uint32_t n = 1 + below(2 * kBlock);
            const uint32_t expect = std::min<uint32_t>(n, uint32_t(model.size()) - at);
            std::vector<unsigned char> got(n);
            if (op < 6) {
                uint32_t k = 0;
                while (k < n && f.get(&got[k])) ++k;
                ASSERT_EQ(k, expect) << "step " << step;
            } else {
                ASSERT_EQ(f->Read(f.o, got.data(), int32_t(n)), int32_t(expect)) << "step " << step;
            }
            ASSERT_TRUE(std::equal(got.begin(), got.begin() + expect, model.begin() + at))
                << "step " << step << " at " << at;
        } else if (op == 8) {  // cut the file, once it spans enough blocks
            if (model.size() > 20 * kBlock) {
                ASSERT_EQ(f->Truncate(f.o), 1);
                model.resize(at);
            }
        } else {  // close, reopen, and the file starts over with fresh blocks
            ASSERT_EQ(f->Close(f.o), 1);
            ASSERT_EQ(f->Open(f.o, path.c_str(), 1), 1) << "step " << step;
            ASSERT_EQ(f.size(), model.size()) << "step " << step;
        }
    }
    EXPECT_EQ(f.size(), model.size());
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(on_disk(path) == std::string(model.begin(), model.end()));
}

TEST(CachedFile, DataReachTheDiskOnlyOnReplacementOrClose) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_disk"), "d.dat");
    const std::string data = pattern(3 * kBlock + 5);
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f->Write(f.o, data.data(), 3 * kBlock), 1);
    EXPECT_EQ(on_disk(path), "") << "three blocks are held in memory";

    for (size_t i = 3 * kBlock; i < data.size(); ++i)
        ASSERT_EQ(f.put(static_cast<unsigned char>(data[i])), 1);
    const std::string mid = on_disk(path);
    ASSERT_EQ(mid.size(), size_t(3 * kBlock)) << "the upper block made room for the fourth";
    EXPECT_EQ(mid.substr(0, 2 * kBlock), std::string(2 * kBlock, '\0'))
        << "block 0 and the lower block are still only in memory";
    EXPECT_EQ(mid.substr(2 * kBlock), data.substr(2 * kBlock, kBlock));

    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(on_disk(path) == data);
}

TEST(CachedFile, BelowTheUpperBlockTheLowerOneSlides) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_sliding"), "s.dat");
    const std::string data = pattern(5 * kBlock - 100);
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    // Appending moved the upper block on twice; the lower one still holds the second block.
    ASSERT_EQ(f.write(data), 1);
    const std::string zeros(2 * kBlock, '\0');
    ASSERT_TRUE(on_disk(path) == zeros + data.substr(2 * kBlock, 2 * kBlock));

    unsigned char b = 0;
    for (const int32_t at : {2 * kBlock + 1, kBlock + 1, 2 * kBlock + 2}) {
        ASSERT_EQ(f.seek(at), 1);
        ASSERT_EQ(f.get(&b), 1) << at;
        EXPECT_EQ(b, static_cast<unsigned char>(data[size_t(at)])) << at;
    }
    EXPECT_TRUE(on_disk(path) == std::string(kBlock, '\0') + data.substr(kBlock, 3 * kBlock))
        << "only the lower block was written back; the upper one still holds the end";
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(on_disk(path) == data);
}

TEST(CachedFile, CloseStopsAtTheFirstFailingBlock) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_closefail"), "c.dat");
    const std::string data = pattern(3 * kBlock);
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f.write(data), 1);
    {
        Fault fault("WriteFile", 2);  // block 0 goes out, the lower block fails
        EXPECT_EQ(f->Close(f.o), 0);
    }
    EXPECT_EQ(f->IsOpen(f.o), 0) << "the handle is closed all the same";
    EXPECT_TRUE(on_disk(path) == data.substr(0, kBlock)) << "the upper block was not tried";
}

// A write-back that fails makes the byte operation fail; the block keeps its bytes and stays
// dirty, so the retry and Close still write everything.
TEST(CachedFile, FailedWriteBackKeepsTheBlockAsItWas) {
    const struct { const char *call; bool get; } cases[] = {
        {"WriteFile", false}, {"SetFilePointer", false}, {"WriteFile", true}, {"SetFilePointer", true},
    };
    const std::string dir = test_env::temp_folder("xfc_writeback");
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.call) + (c.get ? " on GetByte" : " on PutByte"));
        const std::string path = test_env::join(dir, "w.dat");
        Cached f;
        ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
        // PutByte at 3 blocks replaces the dirty upper block; GetByte in the third block of a
        // file of five replaces the dirty lower block.
        std::string data = pattern(c.get ? 5 * kBlock - 100 : 3 * kBlock);
        ASSERT_EQ(f.write(data), 1);
        const int32_t at = c.get ? 2 * kBlock + 500 : 3 * kBlock;
        ASSERT_EQ(f.seek(at), 1);
        const std::string before = on_disk(path);

        unsigned char b = 0;
        Fault fault(c.call, 1);
        EXPECT_EQ(c.get ? f.get(&b) : f.put('!'), 0);
        fault.disarm();
        EXPECT_EQ(f.pos(), uint32_t(at));
        EXPECT_EQ(f.size(), data.size());
        EXPECT_TRUE(on_disk(path) == before) << "nothing reached the disk";

        ASSERT_EQ(c.get ? f.get(&b) : f.put('!'), 1) << "the retry works";
        if (c.get) {
            EXPECT_EQ(b, static_cast<unsigned char>(data[size_t(at)]));
        } else {
            data += '!';
        }
        ASSERT_EQ(f->Close(f.o), 1);
        EXPECT_TRUE(on_disk(path) == data);
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
    const std::string path = test_env::join(test_env::temp_folder("xfc_readfail"), "r.dat");
    const std::string data = pattern(4 * kBlock - 3);
    put_on_disk(path, data);
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.call) + " at " + std::to_string(c.at));
        Cached f;
        ASSERT_EQ(f->Open(f.o, path.c_str(), 0), 1);
        ASSERT_EQ(f.seek(c.at), 1);
        unsigned char b = 0;
        {
            Fault fault(c.call, 1);
            EXPECT_EQ(f.get(&b), 0);
        }
        EXPECT_EQ(f.pos(), uint32_t(c.at));
        ASSERT_EQ(f.get(&b), 1);
        EXPECT_EQ(b, static_cast<unsigned char>(data[size_t(c.at)]));
        EXPECT_TRUE(f.read_all() == data);
    }
}

// Both in the middle of a block the cursor stands in and where a lookup is due.
TEST(CachedFile, NullBytePointerGetsAndPutsNothing) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_nullbyte"), "n.dat");
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f.write("abcdef"), 1);
    unsigned char b = 0;
    const struct { int32_t at; bool cursorPlaced; } cases[] = {{2, true}, {3, false}, {6, true}, {6, false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.at) + (c.cursorPlaced ? " after a byte" : " after a seek"));
        ASSERT_EQ(f.seek(c.at - (c.cursorPlaced ? 1 : 0)), 1);
        if (c.cursorPlaced) {
            if (c.at < 6) {
                ASSERT_EQ(f.get(&b), 1);
            } else {
                ASSERT_EQ(f.put('f'), 1);
            }
        }
        EXPECT_EQ(f->GetByte(f.o, nullptr), 0);
        EXPECT_EQ(f->PutByte(f.o, nullptr), 0);
        EXPECT_EQ(f.pos(), uint32_t(c.at));
        EXPECT_EQ(f.size(), 6u);
    }
    EXPECT_EQ(f.read_all(), "abcdef");
}

// The line end is written even when the text's write fails, and is the result: the text stops
// where a block could not be written back, the retry of that write-back for the line end works.
TEST(CachedFile, WriteLineWritesTheLineEndWhateverTheTextDid) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_writeline"), "w.dat");
    const std::string data = pattern(3 * kBlock);
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f.write(data), 1);
    {
        Fault fault("WriteFile", 1);  // the upper block's write-back for the text's first byte
        EXPECT_EQ(f->WriteLine(f.o, "abc"), 1);
    }
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_TRUE(on_disk(path) == data + "\r\n");
}

TEST(CachedFile, TruncateEndsTheFileAtThePosition) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_truncate"), "t.dat");
    const std::string data = pattern(5 * kBlock);
    Cached f;
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
    EXPECT_TRUE(on_disk(path) == data.substr(0, 5000) + "Z");
}

TEST(CachedFile, TemporaryFileWorksLikeACreatedOne) {
    Cached f;
    ASSERT_EQ(f->CreateTemp(f.o), 1);
    EXPECT_NE(f->IsOpen(f.o), 0);
    EXPECT_EQ(f.size(), 0u);
    const std::string data = pattern(4 * kBlock + 5);
    ASSERT_EQ(f.write(data), 1);
    EXPECT_TRUE(f.read_all() == data);
    EXPECT_EQ(f->Close(f.o), 1);
}

std::vector<std::string> names_in(const std::string &dir) {
    std::vector<std::string> names;
    for (const auto &e : std::filesystem::directory_iterator(dir))
        names.push_back(e.path().filename().string());
    return names;
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

        EXPECT_EQ(names_in(dir),
                  std::vector<std::string>{tarn::xfiles::cached_temp_name_in("", uint64_t(before), 0)});
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
    EXPECT_TRUE(names_in(dir).empty());
}

TEST(CachedFile, ReadLineDropsCrAndOnlyCrCountsAgainstTheSize) {
    const struct { const char *text; int32_t size; std::vector<std::string> lines; } cases[] = {
        {"one\r\ntwo\nthree", 64, {"one", "two", "three"}},
        {"\n\nx\n", 64, {"", "", "x"}},
        {"ab\rcd\n", 3, {"abcd"}},                 // a CR inside the line is dropped
        {"ab\rcd\n", 2, {"ab", "cd"}},             // ... but with size 2 it ends the line
        {"ab\r\ncd\r\n", 2, {"ab", "", "cd", ""}}, // and leaves the LF for the next call
        {"0123456789abcdef\n", 4, {"0123456789abcdef"}},  // ordinary bytes never count
        {"", 64, {}},
    };
    const std::string path = test_env::join(test_env::temp_folder("xfc_readline"), "l.dat");
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
    }
}

TEST(CachedFile, ReadLineWithNoRoomTakesNothing) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_readline0"), "l.dat");
    Cached f;
    ASSERT_EQ(f->Create(f.o, path.c_str()), 1);
    ASSERT_EQ(f->WriteLine(f.o, "abc"), 1);
    ASSERT_EQ(f->WriteLine(f.o, nullptr), 1);
    ASSERT_EQ(f.seek(0), 1);
    char buf[8] = "zzzzzzz";
    // Below 2 the zero byte is stored whatever the size: only that byte.
    for (const int32_t size : {1, 0, -5}) {
        buf[0] = 'z';
        EXPECT_EQ(f->ReadLine(f.o, buf, size), 0) << size;
        EXPECT_EQ(buf[0], '\0') << size;
        EXPECT_EQ(buf[1], 'z') << size;
        EXPECT_EQ(f->ReadLine(f.o, nullptr, size), 0) << size;
    }
    EXPECT_EQ(f.pos(), 0u);
    ASSERT_EQ(f->ReadLine(f.o, buf, 8), 1);
    EXPECT_STREQ(buf, "abc");
    ASSERT_EQ(f->ReadLine(f.o, buf, 8), 1);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(f->ReadLine(f.o, buf, 8), 0);
    ASSERT_EQ(f->Close(f.o), 1);
    EXPECT_EQ(on_disk(path), "abc\r\n\r\n");
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
}

TEST(LineSources, MemoryTextWithNoRoomGivesEmptyLinesWithoutMoving) {
    tarn::wmfXFILE_mem source("ab");
    char buf[8] = "zzzzzzz";
    // Below 2 an empty text is stored whatever the size: only its zero byte.
    for (const int32_t size : {1, 0, -5}) {
        buf[0] = 'z';
        EXPECT_EQ(source.read_line(buf, size), 1) << size;
        EXPECT_EQ(buf[0], '\0') << size;
        EXPECT_EQ(buf[1], 'z') << size;
        EXPECT_EQ(source.read_line(nullptr, size), 1) << size;
    }
    ASSERT_EQ(source.read_line(buf, 8), 1);
    EXPECT_STREQ(buf, "ab");
    EXPECT_EQ(source.read_line(buf, 8), 0);
    EXPECT_EQ(tarn::wmfXFILE_mem(nullptr).read_line(buf, 8), 0);
}

TEST(LineSources, FileLinesAreAlwaysTerminated) {
    const std::string path = test_env::join(test_env::temp_folder("xfc_phy"), "p.txt");
    put_on_disk(path, "one\r\ntwo\nab\rcd\nlast");
    const HANDLE h = X_Open(path.c_str(), 0);
    ASSERT_NE(h, TARN_INVALID_HANDLE);
    tarn::wmfXFILE_phy source(h);
    tarn::wmfXFILE &lines = source;
    std::vector<std::string> got;
    char buf[32];
    for (;;) {
        std::memset(buf, 'x', sizeof buf);
        if (!lines.read_line(buf, sizeof buf) || got.size() > 10) break;
        got.emplace_back(buf);
    }
    EXPECT_EQ(got, (std::vector<std::string>{"one", "two", "ab", "last"}));
    X_Close(h);
}
