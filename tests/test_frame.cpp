// The library frame: tracked memory, colour table and auto-yield counter.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "child_roles.h"
#include "harness.h"

// Blocks carry an 8-byte header holding the total size, come cleared and are counted until freed. A
// refusal is retried once; a size too big for its header, or two refusals, give no block.
TEST(TrackedMemory, CountsBlocksWithTheirHeadersAndRetriesRefusedOnes) {
    uint32_t blocks0 = 0, bytes0 = 0, blocks = 0, bytes = 0;
    EXPECT_EQ(GetGlobalUsage(&blocks0, &bytes0), bytes0);
    auto *a = static_cast<unsigned char *>(AllocGlobal(10));
    void *b = AllocGlobal(0);
    ASSERT_TRUE(a && b);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(a), 10), std::string(10, '\0'));
    GetGlobalUsage(&blocks, &bytes);
    EXPECT_EQ(std::vector<uint32_t>({blocks, bytes}), std::vector<uint32_t>({blocks0 + 2, bytes0 + 18 + 8}));
    uint32_t header[2];
    std::memcpy(header, a - 8, sizeof header);
    EXPECT_EQ(header[0], 18u);
    FreeGlobal(nullptr), FreeGlobal(a), FreeGlobal(b);
    EXPECT_EQ(AllocGlobal(0xFFFFFFFCu), nullptr);
    {
        harness::Fault always("GlobalAlloc", 1, harness::kNotEnoughMemory, true);
        EXPECT_EQ(AllocGlobal(16), nullptr);
    }
    GetGlobalUsage(&blocks, &bytes);
    EXPECT_EQ(std::vector<uint32_t>({blocks, bytes}), std::vector<uint32_t>({blocks0, bytes0}));
    harness::Fault once("GlobalAlloc", 1, harness::kNotEnoughMemory);
    void *retried = AllocGlobal(16);
    EXPECT_NE(retried, nullptr);
    FreeGlobal(retried);
}

// The auto-yield counter is 1 loaded and idle, and Stop never takes it below that.
TEST(Frame, AutoYieldCounter) {
    const int32_t expected[] = {1, 1, 2, 3, 2, 1};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(i == 2 || i == 3 ? AutoYieldStart() : AutoYieldStop(), expected[i]) << i;
}

namespace {

int report_colors(const std::vector<std::string> &args) {
    std::FILE *f = std::fopen(args.at(0).c_str(), "w");
    if (!f) return 1;
    for (int i : {0, 2, 5, 16, 19}) std::fprintf(f, "%06X ", unsigned(koGetSysColor(i)));
    return std::fclose(f), 0;
}
TEST_CHILD_ROLE("color-report", report_colors);

}  // namespace

// Indexes outside the table give entry 0; the highlight is a fixed colour. A helper process reads
// the scheme and the colours of WIN.INI when it starts, and writes back the colours in use.
TEST(ColorTable, FixedIndexesAndTheSchemeFromWinIniAtStartUp) {
    for (int32_t index : {20, -1, INT32_MIN}) {
        EXPECT_EQ(koGetSysColor(index), koGetSysColor(0)) << index;
        EXPECT_EQ(koGetSysBrush(index), koGetSysBrush(0)) << index;
    }
    EXPECT_EQ(koGetSysColor(9), 0xC48955u);
    const std::string out = test_env::join(test_env::temp_folder("colors"), "colors.txt");
    const auto colors = [&] {
        return harness::run_child({"--role", "color-report", out}) ? "" : harness::read_file(out);
    };
    const std::string standard = colors();
    ASSERT_EQ(standard.size(), 35u);
    test_profile_write("tarnGDI", "Colors", "2", "win.ini");
    test_profile_write("tarnGDI", "TARNGDI_COLOR_WINDOW", "R=300;G=1;B=-254;", "win.ini");
    test_profile_write("tarnGDI", "TARNGDI_COLOR_INFOTEXT", "G=255;", "win.ini");
    const std::string read = colors();
    EXPECT_EQ(read.substr(0, 7), "02012C ") << "each part keeps its low byte";
    EXPECT_EQ(read.substr(28, 7), "00FF00 ") << "a missing part is 0";

    for (const char *key : {"Colors", "TARNGDI_COLOR_WINDOW", "TARNGDI_COLOR_INFOTEXT"})
        test_profile_write("tarnGDI", key, nullptr, "win.ini");
    EXPECT_EQ(colors(), standard);
    char written[64] = "";
    test_profile_get("tarnGDI", "TARNGDI_COLOR_HIGHLIGHT", "", written, sizeof written, "win.ini");
    EXPECT_STREQ(written, "R=85;G=137;B=196;");
}
