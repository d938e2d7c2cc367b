// The library frame: tracked memory, colour table, auto-yield counter, version queries,
// module path and the work date set at start-up.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "child_roles.h"
#include "platform/profile_calls.h"
#include "platform/test_env.h"
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

namespace {

int report_colors(const std::vector<std::string> &args) {
    std::FILE *f = std::fopen(args.at(0).c_str(), "w");
    if (!f) return 1;
    for (int i : {0, 2, 5, 16, 19}) std::fprintf(f, "%06X ", unsigned(koGetSysColor(i)));
    std::fclose(f);
    return 0;
}
TEST_CHILD_ROLE("color-report", report_colors);

std::string colors_at_start_up(const std::string &out) {
    if (test_env::wait_child(test_env::start_self({"--role", "color-report", out})) != 0) return "";
    std::FILE *f = std::fopen(out.c_str(), "r");
    char text[128] = "";
    if (f) {
        if (!std::fgets(text, sizeof text, f)) text[0] = '\0';
        std::fclose(f);
    }
    return text;
}

}  // namespace

TEST(ColorTable, SchemeFromWinIniAtStartUp) {
    const std::string out = test_env::join(test_env::temp_folder("colors"), "colors.txt");
    const std::string standard = colors_at_start_up(out);
    ASSERT_FALSE(standard.empty());
    const std::string infoText = standard.substr(28, 6);

    test_profile_write("tarnGDI", "Colors", "1", "win.ini");
    EXPECT_EQ(colors_at_start_up(out), "E8FBFF 404040 E8FBFF 5C5C5C " + infoText + " ")
        << "the light scheme";

    test_profile_write("tarnGDI", "Colors", "2", "win.ini");
    test_profile_write("tarnGDI", "TARNGDI_COLOR_WINDOW", "R=300;G=1;B=-254;", "win.ini");
    test_profile_write("tarnGDI", "TARNGDI_COLOR_INFOTEXT", "G=255;", "win.ini");
    const std::string read = colors_at_start_up(out);
    EXPECT_EQ(read.substr(0, 7), "02012C ") << "each part keeps its low byte";
    EXPECT_EQ(read.substr(28, 7), "00FF00 ") << "a missing part is 0";

    test_profile_write("tarnGDI", "Colors", nullptr, "win.ini");
    test_profile_write("tarnGDI", "TARNGDI_COLOR_WINDOW", nullptr, "win.ini");
    test_profile_write("tarnGDI", "TARNGDI_COLOR_INFOTEXT", nullptr, "win.ini");
    EXPECT_EQ(colors_at_start_up(out), standard);
    char written[64] = "";
    test_profile_get("tarnGDI", "TARNGDI_COLOR_HIGHLIGHT", "", written, sizeof written, "win.ini");
    EXPECT_STREQ(written, "R=85;G=137;B=196;") << "start-up writes the colours in use";
}
