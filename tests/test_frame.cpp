// The library frame: tracked memory, colour table, auto-yield counter, version queries,
// module path and the work date set at start-up.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tarngdi32.h"

TEST(TrackedMemory, CountsBlocksWithTheirHeaders) {
    uint32_t blocks0 = 0, bytes0 = 0;
    EXPECT_EQ(GetGlobalUsage(&blocks0, &bytes0), bytes0);

    auto *a = static_cast<unsigned char *>(AllocGlobal(10));
    auto *b = static_cast<unsigned char *>(AllocGlobal(0));
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(a[i], 0) << "byte " << i << " not cleared";

    uint32_t blocks = 0, bytes = 0;
    GetGlobalUsage(&blocks, &bytes);
    EXPECT_EQ(blocks, blocks0 + 2);
    EXPECT_EQ(bytes, bytes0 + 18 + 8);

    uint32_t header[2];
    std::memcpy(header, a - 8, sizeof header);
    EXPECT_EQ(header[0], 18u) << "the header's first word is the total size";

    FreeGlobal(nullptr);
    FreeGlobal(a);
    FreeGlobal(b);
    GetGlobalUsage(&blocks, &bytes);
    EXPECT_EQ(blocks, blocks0);
    EXPECT_EQ(bytes, bytes0);
}

TEST(TrackedMemory, RefusesASizeThatCannotCarryItsHeader) {
    uint32_t blocks0 = 0, bytes0 = 0, blocks = 0, bytes = 0;
    GetGlobalUsage(&blocks0, &bytes0);
    EXPECT_EQ(AllocGlobal(0xFFFFFFFCu), nullptr);
    GetGlobalUsage(&blocks, &bytes);
    EXPECT_EQ(blocks, blocks0);
    EXPECT_EQ(bytes, bytes0);
}

TEST(ColorTable, IndexOutsideTheTableGivesEntryZero) {
    const struct { int32_t index; int32_t same_as; } cases[] = {
        {20, 0}, {-1, 0}, {INT32_MIN, 0}, {1000, 0}, {19, 19},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(koGetSysColor(c.index), koGetSysColor(c.same_as)) << c.index;
        EXPECT_EQ(koGetSysBrush(c.index), koGetSysBrush(c.same_as)) << c.index;
    }
    EXPECT_EQ(koGetSysColor(9), 0xC48955u) << "the highlight is a fixed colour";
    // Entries that share a system colour by default show the same colour.
    const std::vector<std::vector<int>> sameDefault = {
        {0, 5, 7}, {2, 3, 6, 8, 15}, {1, 12, 14, 17}, {4, 16},
    };
    for (const auto &group : sameDefault)
        for (int i : group) EXPECT_EQ(koGetSysColor(i), koGetSysColor(group[0])) << "entry " << i;
    EXPECT_NE(koGetSysColor(0), koGetSysColor(3)) << "window and window text differ";
    for (int i = 0; i < 20; ++i) EXPECT_NE(koGetSysBrush(i), nullptr) << "entry " << i;
}

TEST(AutoYield, CountsOnlyWhileTheLibraryIsReady) {
    // Loaded and idle the counter is 1; Stop never takes it below that.
    EXPECT_EQ(AutoYieldStop(), 1);
    EXPECT_EQ(AutoYieldStart(), 2);
    EXPECT_EQ(AutoYieldStart(), 3);
    EXPECT_EQ(AutoYieldStop(), 2);
    EXPECT_EQ(AutoYieldStop(), 1);
    EXPECT_EQ(AutoYieldStop(), 1);
}

TEST(VersionQueries, AgreeWithEachOther) {
    EXPECT_EQ(Is_AfterXP(), Is_Win2003() || Is_Longhorn());
    if (Is_Windows_7() || Is_Windows_8()) {
        EXPECT_TRUE(Is_Longhorn());
    }
    EXPECT_FALSE(Is_Windows_7() && Is_Windows_8());
    const int32_t wow = Is_Wow64();
    EXPECT_EQ(Is_Wow64(), wow) << "the answer is kept for the process";
    EXPECT_EQ(koGetWinType(), 500) << "every NT system from version 5 on";
}

TEST(ModulePath, IsADirectoryWithoutTrailingSeparator) {
    char dir[400];
    std::memset(dir, 'x', sizeof dir);
    tarnGetModulePath(nullptr, dir, sizeof dir);
    const std::string d = dir;
    ASSERT_FALSE(d.empty());
    EXPECT_NE(d.back(), '\\');
    EXPECT_NE(d.back(), '/');

    char own[400] = "";
    tarnGetModulePath(reinterpret_cast<HMODULE>(GetGdiLibInstance()), own, sizeof own);
    EXPECT_FALSE(std::string(own).empty()) << "the library finds its own directory";

    char tiny[4] = "abc";
    tarnGetModulePath(nullptr, tiny, sizeof tiny);
    EXPECT_STREQ(tiny, "") << "a path that does not fit leaves an empty text";
}

TEST(WorkDate, StartsAsTodayAndCanBeSetBack) {
    const int32_t today = ld_Today();
    EXPECT_GT(today, 20200101);
    EXPECT_EQ(ld_SetWorkDate(19991231), 19991231);
    EXPECT_EQ(ld_Today(), 19991231);
    const int32_t reset = ld_ResetWorkDate();
    EXPECT_EQ(ld_Today(), reset);
    EXPECT_GE(ld_Today(), today);
}
