// The library frame: tracked memory, colour table, auto-yield counter, module path and the work
// date set at start-up.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "child_roles.h"
#include "harness.h"
#include "platform/profile_calls.h"

TEST(TrackedMemory, CountsBlocksWithTheirHeaders) {
    uint32_t blocks0 = 0, bytes0 = 0, blocks = 0, bytes = 0;
    EXPECT_EQ(GetGlobalUsage(&blocks0, &bytes0), bytes0);
    auto *a = static_cast<unsigned char *>(AllocGlobal(10));
    void *b = AllocGlobal(0);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(a[i], 0) << "byte " << i << " not cleared";
    GetGlobalUsage(&blocks, &bytes);
    EXPECT_EQ(blocks, blocks0 + 2);
    EXPECT_EQ(bytes, bytes0 + 18 + 8);
    uint32_t header[2];
    std::memcpy(header, a - 8, sizeof header);
    EXPECT_EQ(header[0], 18u) << "the header's first word is the total size";
    FreeGlobal(nullptr), FreeGlobal(a), FreeGlobal(b);
    GetGlobalUsage(&blocks, &bytes);
    EXPECT_EQ(blocks, blocks0);
    EXPECT_EQ(bytes, bytes0);
}

// A refused allocation is tried once more after compaction; a size that cannot carry its
// header, or memory refused twice, gives no block and counts nothing.
TEST(TrackedMemory, RefusedBlocksAreRetriedOnceAndNotCounted) {
    uint32_t blocks0 = 0, bytes0 = 0, blocks = 0, bytes = 0;
    GetGlobalUsage(&blocks0, &bytes0);
    EXPECT_EQ(AllocGlobal(0xFFFFFFFCu), nullptr);
    {
        harness::Fault always("GlobalAlloc", 1, harness::kNotEnoughMemory, true);
        EXPECT_EQ(AllocGlobal(16), nullptr);
    }
    GetGlobalUsage(&blocks, &bytes);
    EXPECT_EQ(blocks, blocks0);
    EXPECT_EQ(bytes, bytes0);
    harness::Fault once("GlobalAlloc", 1, harness::kNotEnoughMemory);
    void *retried = AllocGlobal(16);
    EXPECT_NE(retried, nullptr);
    FreeGlobal(retried);
}

TEST(ColorTable, IndexOutsideTheTableGivesEntryZero) {
    for (int32_t index : {20, -1, INT32_MIN}) {
        EXPECT_EQ(koGetSysColor(index), koGetSysColor(0)) << index;
        EXPECT_EQ(koGetSysBrush(index), koGetSysBrush(0)) << index;
    }
    EXPECT_EQ(koGetSysColor(9), 0xC48955u) << "the highlight is a fixed colour";
    EXPECT_NE(koGetSysColor(0), koGetSysColor(3)) << "window and window text differ";
    for (int i = 0; i < 20; ++i) EXPECT_NE(koGetSysBrush(i), nullptr) << "entry " << i;
}

// The auto-yield counter is 1 loaded and idle, and Stop never takes it below that. The module
// path has no trailing separator, and one that does not fit leaves an empty text.
TEST(Frame, AutoYieldModulePathAndWorkDate) {
    for (int32_t expected : {1, 1}) EXPECT_EQ(AutoYieldStop(), expected);
    EXPECT_EQ(AutoYieldStart(), 2);
    EXPECT_EQ(AutoYieldStart(), 3);
    for (int32_t expected : {2, 1}) EXPECT_EQ(AutoYieldStop(), expected);

    char dir[400] = "", own[400] = "", tiny[4] = "abc";
    tarnGetModulePath(nullptr, dir, sizeof dir);
    tarnGetModulePath(reinterpret_cast<HMODULE>(GetGdiLibInstance()), own, sizeof own);
    tarnGetModulePath(nullptr, tiny, sizeof tiny);
    const std::string d = dir;
    ASSERT_FALSE(d.empty() || std::string(own).empty());
    EXPECT_TRUE(d.back() != '\\' && d.back() != '/') << d;
    EXPECT_STREQ(tiny, "");

    const int32_t today = ld_Today();  // the work date starts as today and can be set back
    EXPECT_EQ(ld_SetWorkDate(19991231), 19991231);
    EXPECT_EQ(ld_Today(), 19991231);
    const int32_t reset = ld_ResetWorkDate();
    EXPECT_EQ(ld_Today(), reset);
    EXPECT_GE(reset, today);
}

namespace {

int report_colors(const std::vector<std::string> &args) {
    std::FILE *f = std::fopen(args.at(0).c_str(), "w");
    if (!f) return 1;
    for (int i : {0, 2, 5, 16, 19}) std::fprintf(f, "%06X ", unsigned(koGetSysColor(i)));
    return std::fclose(f), 0;
}
TEST_CHILD_ROLE("color-report", report_colors);

std::string colors_at_start_up(const std::string &out) {
    return harness::run_child({"--role", "color-report", out}) == 0 ? harness::read_file(out) : "";
}

}  // namespace

// A helper process reads the scheme and the colours of WIN.INI when it starts.
TEST(ColorTable, SchemeFromWinIniAtStartUp) {
    const std::string out = test_env::join(test_env::temp_folder("colors"), "colors.txt");
    const std::string standard = colors_at_start_up(out);
    ASSERT_EQ(standard.size(), 35u);
    const std::string infoText = standard.substr(28, 6);

    test_profile_write("tarnGDI", "Colors", "1", "win.ini");
    EXPECT_EQ(colors_at_start_up(out), "E8FBFF 404040 E8FBFF 5C5C5C " + infoText + " ") << "the light scheme";

    test_profile_write("tarnGDI", "Colors", "2", "win.ini");
    test_profile_write("tarnGDI", "TARNGDI_COLOR_WINDOW", "R=300;G=1;B=-254;", "win.ini");
    test_profile_write("tarnGDI", "TARNGDI_COLOR_INFOTEXT", "G=255;", "win.ini");
    const std::string read = colors_at_start_up(out);
    EXPECT_EQ(read.substr(0, 7), "02012C ") << "each part keeps its low byte";
    EXPECT_EQ(read.substr(28, 7), "00FF00 ") << "a missing part is 0";

    for (const char *key : {"Colors", "TARNGDI_COLOR_WINDOW", "TARNGDI_COLOR_INFOTEXT"})
        test_profile_write("tarnGDI", key, nullptr, "win.ini");
    EXPECT_EQ(colors_at_start_up(out), standard);
    char written[64] = "";
    test_profile_get("tarnGDI", "TARNGDI_COLOR_HIGHLIGHT", "", written, sizeof written, "win.ini");
    EXPECT_STREQ(written, "R=85;G=137;B=196;") << "start-up writes the colours in use";
}
