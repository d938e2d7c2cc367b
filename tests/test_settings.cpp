// Profile settings by file, section and key in each store, and the screen zoom read from them.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "child_roles.h"
#include "harness.h"

namespace {

// Selects a profile type for the guard's lifetime; `active` tells whether the system took it.
struct ProfileType {
    explicit ProfileType(int32_t type) : previous(koSetProfileType(type)), active(koSetProfileType(-2) == type) {}
    ~ProfileType() { koSetProfileType(previous); }
    const int32_t previous;
    const bool active;
};

}  // namespace

// Type 1 keeps the value in the registry under the cleaned, upper-cased key path; type 3 in an
// INI file in USER\ALL beside the program folder. A null section deletes the file's values.
TEST(ProfileSettings, WhereEachStoreKeepsTheValue) {
    {
        ProfileType type(1);
        ASSERT_TRUE(type.active);
        const struct {
            const char *file, *section, *path;
        } cases[] = {
            {"", "S", ".DEFAULT\\PASKWERK\\EMPTY\\S"},
            {"B\xFCro 1.ini", "a-b_c", ".DEFAULT\\PASKWERK\\B#RO#1#INI\\A-B_C"},
        };
        for (const auto &c : cases) {
            char value[32] = "";
            ASSERT_EQ(koWritePrivateString(c.section, "k", "10", c.file), 1) << c.path;
            EXPECT_EQ(tarnGetRegString_Ex(HKEY_CURRENT_USER, c.path, "k", value, sizeof value, 0), 1) << c.path;
            EXPECT_STREQ(value, "10") << c.path;
            EXPECT_EQ(koWritePrivateString(nullptr, nullptr, nullptr, c.file), 1);
            EXPECT_EQ(tarnGetRegString_Ex(HKEY_CURRENT_USER, c.path, "k", value, sizeof value, 0), 0) << c.path;
        }
    }
    ProfileType type(3);
    ASSERT_TRUE(type.active);
    using test_env::join;
    const std::string ini = join(join(join(join(test_env::program_folder(), ".."), "USER"), "ALL"), "Kasse.ini.INI");
    ASSERT_EQ(koWritePrivateString("Druck", "R\xE4nder", "10", "Kasse.ini"), 1);
    EXPECT_NE(harness::read_file(ini).find("[Druck]\r\nR\xE4nder=10\r\n"), std::string::npos) << ini;
    EXPECT_EQ(koGetPrivateLong("druck", "r\xE4nder", -1, "Kasse.ini"), 10);
    EXPECT_EQ(koWritePrivateString(nullptr, nullptr, nullptr, "Kasse.ini"), 1);
    EXPECT_FALSE(harness::file_exists(ini));
}

// Doubles are stored with the decimal comma and read in either notation; size 0 reads 29
// characters; a null value deletes the key, a null key the section. Type 0 is refused from Vista
// on, and so is any type above 3; -1 asks for the default.
TEST(ProfileSettings, ValuesRoundTripInEveryStoreAndTypesFollowTheSystem) {
    for (int32_t t : {1, 3, 2, 0}) {
        ProfileType type(t);
        if (!type.active) continue;  // type 0 is refused from Windows Vista on
        SCOPED_TRACE(t);
        const char *file = "TarnTest";
        char buf[64];
        EXPECT_EQ(koGetPrivateDouble("S", "Missing", 1.5, file), 1.5);
        ASSERT_EQ(koWritePrivateDouble("S", "D", 1234.0625, file), 1);
        EXPECT_EQ(koGetPrivateDouble("S", "D", 0, file), 1234.0625);
        EXPECT_STREQ(koGetPrivateString("S", "D", "", buf, sizeof buf, file), "1234,0625");
        koWritePrivateString("S", "Plain", "1.25", file);
        EXPECT_EQ(koGetPrivateDouble("S", "Plain", 0, file), 1.25);
        ASSERT_EQ(koWritePrivateLong("S", "L", INT32_MIN, file), 1);
        EXPECT_EQ(koGetPrivateLong("S", "L", 0, file), INT32_MIN);
        koWritePrivateString("S", "Long", std::string(40, 'x').c_str(), file);
        std::memset(buf, '#', sizeof buf);
        koGetPrivateString("S", "Long", "", buf, 0, file);
        EXPECT_EQ(std::string(buf), std::string(29, 'x'));
        EXPECT_EQ(koWritePrivateString("S", "L", nullptr, file), 1);
        EXPECT_EQ(koGetPrivateLong("S", "L", 5, file), 5);
        EXPECT_EQ(koWritePrivateString("S", nullptr, nullptr, file), 1);
        EXPECT_EQ(koGetPrivateLong("S", "D", 3, file), 3);
        koWritePrivateString(nullptr, nullptr, nullptr, file);
    }
    const int32_t current = koSetProfileType(-2);
    if (Is_Longhorn()) EXPECT_EQ(koSetProfileType(0), current);
    EXPECT_EQ(koSetProfileType(4), current);
    EXPECT_EQ(koSetProfileType(3), current);
    EXPECT_EQ(koSetProfileType(-1), 3);
    EXPECT_EQ(koSetProfileType(-2), Is_Longhorn() ? 1 : 0);
    koSetProfileType(current);
    EXPECT_GE(koGetPublicLong("TARNGDI", "RegProfileType", -99), 0) << "start-up writes it back";
}

// The registry forms: a missing key gives null and the default as it is, a null key lists the
// value names, and binary values live only there (cleared buffer first, exact size needed).
TEST(ProfileSettings, RegistryFormsListNamesAndHoldBinaryValues) {
    const unsigned char data[5] = {0, 1, 2, 0xFE, 0xFF};
    unsigned char back[8];
    const char *file = "TarnList";
    {
        ProfileType type(1);
        ASSERT_TRUE(type.active);
        char buf[64];
        EXPECT_EQ(koGetPrivateString("S", "K", "def  ", buf, sizeof buf, file), nullptr);
        EXPECT_STREQ(buf, "def  ");
        koWritePrivateString("S", "One", "1", file);
        koWritePrivateString("S", "Two", "2", file);
        ASSERT_EQ(koGetPrivateString("S", nullptr, "", buf, sizeof buf, file), buf);
        EXPECT_EQ(std::string(buf, 9), std::string("One\0Two\0\0", 9));
        ASSERT_EQ(koWritePrivateBin("S", "B", data, sizeof data, file), 1);
        EXPECT_EQ(koGetPrivateBinSize("S", "B", file), 5u);
        std::memset(back, 0xAA, sizeof back);
        EXPECT_EQ(koGetPrivateBin("S", "B", back, sizeof back, file), 1);
        EXPECT_EQ(std::vector<unsigned char>(back, back + 6), std::vector<unsigned char>({0, 1, 2, 0xFE, 0xFF, 0}));
        EXPECT_EQ(koGetPrivateBin("S", "B", back, 2, file) + koGetPrivateBin("S", "One", back, 8, file), 0)
            << "too small a buffer, or not binary";
        koWritePrivateString(nullptr, nullptr, nullptr, file);
    }
    ProfileType type(3);
    EXPECT_EQ(koWritePrivateBin("S", "B", data, sizeof data, file) + koGetPrivateBin("S", "B", back, 8, file), 0);
}

TEST(ProfileSettings, ColoursInIniFiles) {
    const std::string ini = test_env::join(test_env::temp_folder("rgb"), "farben.ini");
    EXPECT_EQ(GetPrivateProfileRGB("Farben", "Rand", 0x123456, ini.c_str()), 0x123456u);
    EXPECT_EQ(WritePrivateProfileRGB("Farben", "Rand", 0x0000FF, ini.c_str()), 0x0000FFu);
    EXPECT_EQ(harness::read_file(ini), "[Farben]\r\nRand=R=255;G=0;B=0;\r\n");
    harness::write_file(ini, "[Farben]\r\nRand=R=300;G=-1;B=2;\r\n");
    EXPECT_EQ(GetPrivateProfileRGB("Farben", "Rand", 0, ini.c_str()), 0x02FF2Cu) << "each part modulo 256";
}

namespace {

int report_zoom(const std::vector<std::string> &args) {
    std::FILE *f = std::fopen(args.at(0).c_str(), "w");
    if (!f) return 1;
    std::fprintf(f, "%g %d %d %d %d", koGetScreenZoom(), int(koUnitCX()), int(koUnitCY()), int(koPixelFromUnitsCX(10)),
                 int(koPixelToUnitsCY(100)));
    return std::fclose(f), 0;
}
TEST_CHILD_ROLE("zoom-report", report_zoom);

}  // namespace

// Each helper process reads the zoom once, at its first use; 1.3125 * 8 = 10.5 rounds down.
// Switched off, the zoom is 1 with the base units of 8 by 16.
TEST(ScreenZoom, ReadOnceFromThePublicProfileAtFirstUse) {
    const int32_t saved = koGetPublicLong("TARNGDI", "Zoom", 0);
    const std::string out = test_env::join(test_env::temp_folder("zoom"), "zoom.txt");
    const struct {
        int32_t setting;
        const char *report;
    } cases[] = {{0, "1 8 16 20 50"}, {3, "1.3125 10 21 25 38"}, {7, "1 8 16 20 50"}};
    for (const auto &c : cases) {
        koWritePublicLong("TARNGDI", "Zoom", c.setting);
        ASSERT_EQ(harness::run_child({"--role", "zoom-report", out}), 0);
        EXPECT_EQ(harness::read_file(out), c.report) << "Zoom=" << c.setting;
    }
    koWritePublicLong("TARNGDI", "Zoom", saved);
    const BOOL was = koEnableScreenZoom(0);
    EXPECT_EQ(koGetScreenZoom(), 1.0);
    EXPECT_EQ(koGetDialogBaseUnits(), 0x100008u);
    EXPECT_EQ(koEnableScreenZoom(was), 0);
}
