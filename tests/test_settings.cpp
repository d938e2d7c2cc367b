// Profile settings by file, section and key in each store, and the screen zoom read from them.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "child_roles.h"
#include "platform/test_env.h"
#include "tarngdi32.h"

namespace {

class ProfileType {
public:
    explicit ProfileType(int32_t type) : previous_(koSetProfileType(type)) {}
    ~ProfileType() { koSetProfileType(previous_); }
    bool active(int32_t type) const { return koSetProfileType(-2) == type; }

private:
    int32_t previous_;
};

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::string shared_ini(const char *file) {
    return test_env::join(test_env::join(test_env::join(test_env::join(test_env::program_folder(), ".."),
                                                       "USER"), "ALL"),
                          std::string(file) + ".INI");
}

TEST(ProfileSettings, RegistryKeyPathIsCleanedAndUpperCased) {
    ProfileType type(1);
    ASSERT_TRUE(type.active(1));
    ASSERT_EQ(koWritePrivateString("Druck", "R\xE4nder", "10", "Kasse.ini"), 1);
    char value[32] = "";
    EXPECT_EQ(tarnGetRegString_Ex(HKEY_CURRENT_USER, ".DEFAULT\\PASKWERK\\KASSE#INI\\DRUCK", "R\xE4nder",
                                  value, sizeof value, 0), 1);
    EXPECT_STREQ(value, "10");
    const struct { const char *file, *section, *path; } cases[] = {
        {"", "S", ".DEFAULT\\PASKWERK\\EMPTY\\S"},
        {"B\xFC" "ro 1.ini", "a-b_c", ".DEFAULT\\PASKWERK\\B#RO#1#INI\\A-B_C"},
    };
    for (const auto &c : cases) {
        ASSERT_EQ(koWritePrivateString(c.section, "k", "v", c.file), 1) << c.path;
        EXPECT_EQ(tarnGetRegString_Ex(HKEY_CURRENT_USER, c.path, "k", value, sizeof value, 0), 1) << c.path;
        EXPECT_EQ(koWritePrivateString(nullptr, nullptr, nullptr, c.file), 1) << "deletes the file's keys";
        EXPECT_EQ(tarnGetRegString_Ex(HKEY_CURRENT_USER, c.path, "k", value, sizeof value, 0), 0) << c.path;
    }
    EXPECT_EQ(koWritePrivateString(nullptr, nullptr, nullptr, "Kasse.ini"), 1);
}

TEST(ProfileSettings, SharedIniFileLiesBesideTheProgramFolder) {
    ProfileType type(3);
    ASSERT_TRUE(type.active(3));
    ASSERT_EQ(koWritePrivateString("Druck", "R\xE4nder", "10", "Kasse.ini"), 1);
    const std::string text = read_file(shared_ini("Kasse.ini"));
    EXPECT_NE(text.find("[Druck]"), std::string::npos) << text;
    EXPECT_NE(text.find("R\xE4nder=10"), std::string::npos) << text;
    EXPECT_EQ(koGetPrivateLong("druck", "r\xE4nder", -1, "Kasse.ini"), 10);
    EXPECT_EQ(koWritePrivateString(nullptr, nullptr, nullptr, "Kasse.ini"), 1) << "deletes the file";
    EXPECT_TRUE(read_file(shared_ini("Kasse.ini")).empty());
}

TEST(ProfileSettings, ValuesRoundTripInEveryStore) {
    for (int32_t t : {1, 3, 2, 0}) {
        ProfileType type(t);
        if (!type.active(t)) continue;  // type 0 is refused from Windows Vista on
        SCOPED_TRACE(t);
        const char *file = "TarnTest";
        char buf[64];
        EXPECT_EQ(koGetPrivateDouble("S", "Missing", 1.5, file), 1.5);
        EXPECT_EQ(koGetPrivateLong("S", "Missing", -7, file), -7);
        ASSERT_EQ(koWritePrivateDouble("S", "D", 1234.0625, file), 1);
        EXPECT_EQ(koGetPrivateDouble("S", "D", 0, file), 1234.0625);
        ASSERT_STREQ(koGetPrivateString("S", "D", "", buf, sizeof buf, file), "1234,0625")
            << "stored with the decimal comma";
        koWritePrivateString("S", "Plain", "1.25", file);
        EXPECT_EQ(koGetPrivateDouble("S", "Plain", 0, file), 1.25);
        ASSERT_EQ(koWritePrivateLong("S", "L", INT32_MIN, file), 1);
        EXPECT_EQ(koGetPrivateLong("S", "L", 0, file), INT32_MIN);

        const std::string longValue(40, 'x');
        koWritePrivateString("S", "Long", longValue.c_str(), file);
        std::memset(buf, '#', sizeof buf);
        koGetPrivateString("S", "Long", "", buf, 0, file);
        EXPECT_EQ(std::string(buf), longValue.substr(0, 29)) << "size 0 reads 29 characters";

        EXPECT_EQ(koWritePrivateString("S", "L", nullptr, file), 1) << "a null value deletes";
        EXPECT_EQ(koGetPrivateLong("S", "L", 5, file), 5);
        EXPECT_EQ(koWritePrivateString("S", nullptr, nullptr, file), 1) << "a null key deletes the section";
        EXPECT_EQ(koGetPrivateLong("S", "D", 3, file), 3);
        koWritePrivateString(nullptr, nullptr, nullptr, file);
    }
}

TEST(ProfileSettings, RegistryFormsListValueNamesAndMissingKeysGiveNull) {
    ProfileType type(1);
    ASSERT_TRUE(type.active(1));
    const char *file = "TarnList";
    koWritePrivateString(nullptr, nullptr, nullptr, file);
    char buf[64];
    EXPECT_EQ(koGetPrivateString("S", "K", "def  ", buf, sizeof buf, file), nullptr);
    EXPECT_STREQ(buf, "def  ") << "the registry form copies the default as it is";
    koWritePrivateString("S", "One", "1", file);
    koWritePrivateString("S", "Two", "2", file);
    std::memset(buf, '#', sizeof buf);
    ASSERT_EQ(koGetPrivateString("S", nullptr, "", buf, sizeof buf, file), buf);
    EXPECT_EQ(std::string(buf, 9), std::string("One\0Two\0\0", 9));
    koWritePrivateString(nullptr, nullptr, nullptr, file);
}

TEST(ProfileSettings, BinaryValuesLiveOnlyInTheRegistryForms) {
    const unsigned char data[5] = {0, 1, 2, 0xFE, 0xFF};
    unsigned char back[8];
    {
        ProfileType type(1);
        ASSERT_EQ(koWritePrivateBin("S", "B", data, sizeof data, "TarnBin"), 1);
        EXPECT_EQ(koGetPrivateBinSize("S", "B", "TarnBin"), 5u);
        std::memset(back, 0xAA, sizeof back);
        EXPECT_EQ(koGetPrivateBin("S", "B", back, sizeof back, "TarnBin"), 1);
        EXPECT_EQ(std::memcmp(back, data, 5), 0);
        EXPECT_EQ(back[5], 0) << "the buffer is cleared first";
        EXPECT_EQ(koGetPrivateBin("S", "B", back, 2, "TarnBin"), 0) << "too small a buffer";
        koWritePrivateString("S", "Text", "abc", "TarnBin");
        EXPECT_EQ(koGetPrivateBin("S", "Text", back, sizeof back, "TarnBin"), 0) << "not binary";
        EXPECT_EQ(koWritePrivateBin("S", "B", nullptr, 0, "TarnBin"), 1);
        EXPECT_EQ(koGetPrivateBinSize("S", "B", "TarnBin"), 0u);
        koWritePrivateString(nullptr, nullptr, nullptr, "TarnBin");
    }
    ProfileType type(3);
    EXPECT_EQ(koWritePrivateBin("S", "B", data, sizeof data, "TarnBin"), 0);
    EXPECT_EQ(koGetPrivateBin("S", "B", back, sizeof back, "TarnBin"), 0);
    EXPECT_EQ(koGetPrivateBinSize("S", "B", "TarnBin"), 0u);
}

TEST(ProfileSettings, TypeChangesFollowTheSystemGeneration) {
    const int32_t current = koSetProfileType(-2);
    if (Is_Longhorn()) {
        EXPECT_EQ(koSetProfileType(0), current) << "type 0 is refused from Vista on";
    }
    EXPECT_EQ(koSetProfileType(-2), current);
    EXPECT_EQ(koSetProfileType(4), current);
    EXPECT_EQ(koSetProfileType(3), current);
    EXPECT_EQ(koSetProfileType(-1), 3);
    EXPECT_EQ(koSetProfileType(-2), Is_Longhorn() ? 1 : 0);
    koSetProfileType(current);
    EXPECT_GE(koGetPublicLong("TARNGDI", "RegProfileType", -99), 0) << "start-up writes it back";
}

TEST(ProfileSettings, ColoursInIniFiles) {
    const std::string dir = test_env::temp_folder("rgb");
    const std::string ini = test_env::join(dir, "farben.ini");
    EXPECT_EQ(GetPrivateProfileRGB("Farben", "Rand", 0x123456, ini.c_str()), 0x123456u);
    EXPECT_EQ(WritePrivateProfileRGB("Farben", "Rand", 0x0000FF, ini.c_str()), 0x0000FFu);
    EXPECT_NE(read_file(ini).find("Rand=R=255;G=0;B=0;"), std::string::npos) << read_file(ini);
    EXPECT_EQ(GetPrivateProfileRGB("Farben", "Rand", 0, ini.c_str()), 0x0000FFu);
    std::FILE *f = std::fopen(ini.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fputs("[Farben]\r\nRand=R=300;G=-1;B=2;\r\n", f);
    std::fclose(f);
    EXPECT_EQ(GetPrivateProfileRGB("Farben", "Rand", 0, ini.c_str()), 0x02FF2Cu)
        << "each part modulo 256";
}

int report_zoom(const std::vector<std::string> &args) {
    std::FILE *f = std::fopen(args.at(0).c_str(), "w");
    if (!f) return 1;
    std::fprintf(f, "%g %d %d %d %d", koGetScreenZoom(), int(koUnitCX()), int(koUnitCY()),
                 int(koPixelFromUnitsCX(10)), int(koPixelToUnitsCY(100)));
    std::fclose(f);
    return 0;
}
TEST_CHILD_ROLE("zoom-report", report_zoom);

TEST(ScreenZoom, ReadOnceFromThePublicProfileAtFirstUse) {
    const int32_t saved = koGetPublicLong("TARNGDI", "Zoom", 0);
    const std::string out = test_env::join(test_env::temp_folder("zoom"), "zoom.txt");
    const struct { int32_t setting; const char *report; } cases[] = {
        {0, "1 8 16 20 50"},          // 100*8+1 over 16
        {1, "0.8 6 13 15 61"},
        {2, "1.125 9 18 22 44"},
        {3, "1.3125 10 21 25 38"},
        {7, "1 8 16 20 50"},
    };
    for (const auto &c : cases) {
        koWritePublicLong("TARNGDI", "Zoom", c.setting);
        ASSERT_EQ(test_env::wait_child(test_env::start_self({"--role", "zoom-report", out})), 0);
        EXPECT_EQ(read_file(out), c.report) << "Zoom=" << c.setting;
    }
    koWritePublicLong("TARNGDI", "Zoom", saved);

    const double zoom = koGetScreenZoom();
    const BOOL was = koEnableScreenZoom(0);
    EXPECT_EQ(koGetScreenZoom(), 1.0);
    EXPECT_EQ(koGetDialogBaseUnits(), 0x100008u);
    EXPECT_EQ(koEnableScreenZoom(was), 0);
    EXPECT_EQ(koGetScreenZoom(), zoom);
}

}  // namespace
