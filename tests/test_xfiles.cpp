// The X_ file functions: 16-bit counts, lines, large transfers, temporary files, unique names.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "harness.h"

namespace {

class XFiles : public testing::Test {
protected:
    void TearDown() override { test_env::set_temp_folder(""); }
    std::string path(const char *name) const { return test_env::join(dir_, name); }
    HANDLE open_with(const char *name, const std::string &bytes) {
        harness::write_file(path(name), bytes);
        return X_Open(path(name).c_str(), 1);
    }
    std::string dir_ = test_env::temp_folder("xfiles");
};

int32_t pos(HANDLE h) { return X_Seek(h, 0, 1); }

TEST_F(XFiles, SeekMovesByOriginAndRefusesOthersWithoutMoving) {
    HANDLE h = open_with("seek", "0123456789");
    const struct {
        int32_t offset, origin, result, after;
    } cases[] = {
        {4, 0, 4, 4}, {3, 1, 7, 7}, {-2, 2, 8, 8}, {5, 3, -1, 8}, {-9, 1, -1, 8}, {20, 0, 20, 20},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(X_Seek(h, c.offset, c.origin), c.result) << c.offset << " from " << c.origin;
        EXPECT_EQ(pos(h), c.after) << c.offset << " from " << c.origin;
    }
    EXPECT_EQ(X_Close(h), 1);
}

TEST_F(XFiles, ReadlnSplitsAtLineFeedsAndStopsAtCarriageReturns) {
    struct Line {
        int32_t result, after;
        const char *text;
    };
    const struct {
        const char *bytes;
        int32_t size;
        std::vector<Line> lines;
    } cases[] = {
        // A CR ends the string, the line is still consumed up to its LF; the last line needs none.
        {"ab\rcd\nef", 64, {{1, 6, "ab"}, {1, 8, "ef"}, {0, 8, ""}}},
        // A line longer than the buffer comes in pieces of size - 1 bytes.
        {"abcdef\n", 4, {{1, 3, "abc"}, {1, 6, "def"}, {1, 7, ""}, {0, 7, ""}}},
        {"abc\n", 1, {{0, 0, ""}}},
    };
    for (const auto &c : cases) {
        HANDLE h = open_with("lines", c.bytes);
        for (size_t i = 0; i < c.lines.size(); ++i) {
            char buffer[64] = {};
            EXPECT_EQ(X_Readln(h, buffer, c.size), c.lines[i].result) << c.bytes << " line " << i;
            EXPECT_STREQ(buffer, c.lines[i].text) << c.bytes << " line " << i;
            EXPECT_EQ(pos(h), c.lines[i].after) << c.bytes << " line " << i;
        }
        X_Close(h);
    }
}

TEST_F(XFiles, WritelnAppendsCrLfAndJudgesOnlyTheSixteenBitCount) {
    const struct {
        const char *text, *bytes;
        int32_t failingWrite;
    } cases[] = {
        {"abc", "abc\r\n", 0},
        {nullptr, "\r\n", 0},
        // A failed write answers -1, which is not 0: the failure goes unnoticed.
        {"abc", "\r\n", 1},
        {"abc", "abc", 2},
    };
    for (const auto &c : cases) {
        HANDLE h = X_Creat(path("writeln").c_str());
        harness::Fault fault("WriteFile", c.failingWrite, harness::kDiskFull);  // 0 arms nothing
        EXPECT_EQ(X_Writeln(h, c.text), 1) << c.bytes;
        X_Close(h);
        EXPECT_EQ(harness::read_file(path("writeln")), c.bytes);
    }
}

TEST_F(XFiles, TransfersCountInSixteenBitsOrBeyondAndFailOnAnyChunk) {
    std::string data(100000, '\0');
    for (size_t i = 0; i < data.size(); ++i) data[i] = char(i * 7 + i / 251);
    const struct { int32_t count, result; } cases[] = {{0, 0}, {32767, 32767}, {32768, -32768}, {65535, -1}};
    for (const auto &c : cases) {
        HANDLE h = X_Creat(path("counts").c_str());
        EXPECT_EQ(X_Write(h, data.data(), c.count), c.result) << c.count;
        EXPECT_EQ(X_Seek(h, 0, 2), int32_t(c.count)) << "all bytes are written: " << c.count;
        ASSERT_EQ(X_Seek(h, 0, 0), 0);
        std::string back(65535, '\0');
        EXPECT_EQ(X_Read(h, &back[0], 65535), c.result) << c.count;
        EXPECT_EQ(back.compare(0, size_t(c.count), data, 0, size_t(c.count)), 0) << c.count;
        X_Close(h);
    }
    HANDLE h = X_Creat(path("large").c_str());
    EXPECT_EQ(X_lWrite(h, data.data(), int32_t(data.size())), 100000);
    EXPECT_EQ(X_lWrite(h, data.data(), 0), 0);
    const struct {
        int32_t from, count, result;
    } reads[] = {{0, 150000, 100000}, {99000, 8192, 1000}, {100000, 10, 0}, {5, 0, 0}};
    for (const auto &r : reads) {
        ASSERT_EQ(X_Seek(h, r.from, 0), r.from);
        std::string back(size_t(std::max(r.count, 1)), '\0');
        EXPECT_EQ(X_lRead(h, &back[0], r.count), r.result) << r.from << "+" << r.count;
        EXPECT_EQ(back.compare(0, size_t(r.result), data, size_t(r.from), size_t(r.result)), 0) << r.from;
    }
    X_Close(h);
    h = X_Creat(path("full").c_str());  // a later failing chunk fails the whole write too
    for (int32_t nth : {1, 3}) {
        harness::Fault fault("WriteFile", nth, harness::kDiskFull);
        EXPECT_EQ(X_lWrite(h, data.data(), 20000), -1) << "chunk " << nth;
    }
    harness::Fault fault("WriteFile", 1, harness::kDiskFull);
    EXPECT_EQ(X_Write(h, data.data(), 10), -1);
    X_Close(h);
}

TEST_F(XFiles, OpenAndCreatHonourAccessAndExistence) {
    harness::write_file(path("here"), "hello");
    const struct {
        std::string name;
        int32_t write;
        bool opens, writes;
    } cases[] = {{path("here"), 0, true, false},
                 {path("here"), 1, true, true},
                 {path("missing"), 1, false, false},
                 {dir_, 0, false, false}};
    for (const auto &c : cases) {
        HANDLE h = X_Open(c.name.c_str(), c.write);
        EXPECT_EQ(h != TARN_INVALID_HANDLE, c.opens) << c.name << " " << c.write;
        if (h == TARN_INVALID_HANDLE) continue;
        EXPECT_EQ(X_Write(h, "J", 1), c.writes ? 1 : -1) << c.name << " " << c.write;
        X_Close(h);
    }
    EXPECT_EQ(harness::read_file(path("here")), "Jello");
    HANDLE h = X_Creat(path("here").c_str());
    EXPECT_EQ(X_Seek(h, 0, 2), 0) << "an existing file is truncated";
    X_Close(h);
}

TEST_F(XFiles, OldStyleLinesRoundTrip) {
    harness::write_file(path("old"), "");
    const int32_t f = test_env::old_open(path("old"));
    if (f == -1) GTEST_SKIP() << "the system gives no old-style handle here";
    for (const char *line : {"alpha", "", "be\rta"}) EXPECT_EQ(lwriteln(f, line), 1) << line;
    test_env::old_close(f);
    EXPECT_EQ(harness::read_file(path("old")), "alpha\r\n\r\nbe\rta\r\n");
    const int32_t g = test_env::old_open(path("old"));
    char buffer[32];
    for (const char *line : {"alpha", "", "be"})
        EXPECT_TRUE(lreadln(g, buffer, sizeof buffer) && buffer == std::string(line)) << line;
    EXPECT_EQ(lreadln(g, buffer, sizeof buffer), 0);
    test_env::old_close(g);
}

// Two temporary files within the same second get names of their own; they are gone after Close.
// A unique name is the time in eight hex digits, low half first, in one static buffer.
TEST_F(XFiles, TemporaryFilesAndUniqueNames) {
    test_env::set_temp_folder(dir_);
    const auto files = [&] { return std::distance(std::filesystem::directory_iterator(dir_), {}); };
    HANDLE a = X_CreatTmp(), b = X_CreatTmp();
    ASSERT_TRUE(a != TARN_INVALID_HANDLE && b != TARN_INVALID_HANDLE);
    EXPECT_EQ(files(), 2);
    EXPECT_EQ(X_Close(a), 1);
    EXPECT_EQ(X_Close(b), 1);
    EXPECT_EQ(files(), 0);
    harness::Fault fault("CreateFile", 1, harness::kAccessDenied);
    EXPECT_EQ(X_CreatTmp(), TARN_INVALID_HANDLE);
    const uint32_t before = uint32_t(uint64_t(std::time(nullptr)));
    const std::string name = UniqName();
    const uint32_t after = uint32_t(uint64_t(std::time(nullptr)));
    ASSERT_EQ(name.size(), 8u);
    ASSERT_EQ(name.find_first_not_of("0123456789ABCDEF"), std::string::npos) << name;
    const uint32_t t =
        uint32_t(std::stoul(name.substr(0, 4), nullptr, 16) | std::stoul(name.substr(4), nullptr, 16) << 16);
    EXPECT_TRUE(t >= before && t <= after) << name;
    EXPECT_EQ(UniqName(), UniqName());
}

}  // namespace
