// Registry values of the product family, and the registry calls beneath them. The same
// expectations hold for the library's own store and, under Wine, for the system's registry.
#include <gtest/gtest.h>

#include <random>

#include "harness.h"
#include "platform/registry.h"

namespace {

const char *const kZent = "SOFTWARE\\KELVO GmbH\\ZENTcolor";

// Names made by this run, so that values left by an earlier run cannot make a test pass.
std::string unique(const std::string &stem) {
    static const std::string run = std::to_string(std::random_device{}());
    return stem + "-" + run;
}

bool key_exists(const std::string &path) {
    HKEY key = nullptr;
    if (plat::reg_open(HKEY_LOCAL_MACHINE, path.c_str(), false, false, &key) != plat::kErrorSuccess) return false;
    return plat::reg_close(key), true;
}

void delete_values(const char *path, const std::vector<std::string> &names) {
    HKEY key = nullptr;
    if (plat::reg_open(HKEY_LOCAL_MACHINE, path, true, false, &key) != plat::kErrorSuccess) return;
    for (const auto &n : names) plat::reg_delete_value(key, n.c_str());
    plat::reg_close(key);
}

}  // namespace

// Names match as Windows matches them ("ß" has no capital, "/" is part of a name, doubled or final
// separators are skipped, a leading one is a bad path); values keep their size and first spelling;
// handles answer for their access and for a key deleted under them.
TEST(RegistryCalls, PathsValuesAndHandlesAsWindowsHasThem) {
    const std::string base = "Software\\" + unique("tarngdi32-tests");
    HKEY ab = nullptr, key = nullptr, reader = nullptr;
    ASSERT_EQ(plat::reg_create(HKEY_CURRENT_USER, (base + "\\A\\B").c_str(), &ab), 0);
    ASSERT_EQ(plat::reg_create(HKEY_CURRENT_USER, (base + "\\\xC4\x8A\xFF\xDF").c_str(), &key), 0);
    plat::reg_close(key);
    const struct {
        std::string path;
        long result;
    } paths[] = {
        {base + "\\a\\b", 0},           {base + "\\A\\\\B\\", 0}, {base + "\\\xE4\x9A\x9F\xDF", 0},
        {base + "\\\xE4\x9A\x9FSS", 2}, {base + "\\A/B", 2},      {"\\" + base, 161},
    };
    for (const auto &c : paths) {
        EXPECT_EQ(plat::reg_open(HKEY_CURRENT_USER, c.path.c_str(), false, false, &(key = nullptr)), c.result)
            << c.path;
        if (key) plat::reg_close(key);
    }
    ASSERT_EQ(plat::reg_set(ab, "Alpha", plat::kRegSz, "hello", 6), 0);
    ASSERT_EQ(plat::reg_set(ab, "ALPHA", plat::kRegSz, "hallo!", 7), 0);
    uint32_t type = 0, size = 3, n = 5;
    char buf[16] = "", name[5];
    EXPECT_EQ(plat::reg_query(ab, "alpha", &type, buf, &size), plat::kErrorMoreData);
    EXPECT_EQ(plat::reg_query(ab, "alpha", &type, buf, &size), 0) << "the size needed came back";
    EXPECT_EQ(std::string(buf), "hallo!");
    EXPECT_EQ(plat::reg_enum_value(ab, 0, name, &n), plat::kErrorMoreData) << "no room for the NUL after Alpha";

    ASSERT_EQ(plat::reg_open(HKEY_CURRENT_USER, (base + "\\A").c_str(), true, false, &key), 0);
    ASSERT_EQ(plat::reg_open(HKEY_CURRENT_USER, (base + "\\A\\B").c_str(), false, false, &reader), 0);
    EXPECT_EQ(plat::reg_set(reader, "x", plat::kRegSz, "", 1), 5) << "opened for reading";
    EXPECT_EQ(plat::reg_delete_key(key, ""), 5) << "a key with subkeys stays";
    EXPECT_EQ(plat::reg_delete_key(key, "b"), 0);
    EXPECT_EQ(plat::reg_query(reader, "alpha", nullptr, nullptr, &size), plat::kErrorKeyDeleted);
    plat::reg_close(reader), plat::reg_close(ab), plat::reg_close(key);
    for (const char *sub : {"\\A", "\\\xC4\x8A\xFF\xDF", ""})
        plat::reg_delete_key(HKEY_CURRENT_USER, (base + sub).c_str());
}

// Any value of exactly four bytes reads as a number, strings only as strings; key paths and value
// names ignore case. Making the family key also makes the server key beside it. Missing keys and
// writes the registry refuses answer 0 and leave nothing behind.
TEST(RegistryValues, ReadOnlyTheirOwnKindAndAnswerZeroOnFailure) {
    const std::string text = unique("Text"), shortText = unique("Short"), number = unique("Number"),
                      empty = unique("Empty"), absent = unique("Absent"),
                      missing = "SOFTWARE\\" + unique("tarngdi32-missing");
    {
        harness::Fault f("RegOpenKey", 1, 2);  // the key seems missing: the string form makes the chain
        ASSERT_EQ(tarnSetZentKeyString(text.c_str(), "Gelb"), 1);
    }
    EXPECT_TRUE(key_exists("SOFTWARE\\KELVO GmbH\\HV_DBS\\Server Config"));
    ASSERT_EQ(tarnSetZentKeyString(shortText.c_str(), "abc"), 1);
    ASSERT_EQ(tarnSetZentKeyString(empty.c_str(), ""), 1);
    ASSERT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, kZent, number.c_str(), 0xFFFFFFFF), 1);
    const struct {
        const std::string &name;
        int32_t asDword, asString;
        DWORD dword;
        const char *str;
    } cases[] = {
        {text, 0, 1, 0, "Gelb"},
        {number, 1, 0, 0xFFFFFFFF, ""},
        {shortText, 1, 1, 0x00636261, "abc"},
        {empty, 0, 1, 0, ""},
    };
    for (const auto &c : cases) {
        DWORD got = 0xDEADBEEF;
        char buf[32] = "junk";
        EXPECT_EQ(tarnGetZentKeyDWORD(c.name.c_str(), &got), c.asDword) << c.name;
        EXPECT_EQ(got, c.dword) << c.name;
        EXPECT_EQ(tarnGetZentKeyString(c.name.c_str(), buf, sizeof buf), c.asString) << c.name;
        EXPECT_STREQ(buf, c.str) << c.name;
    }
    DWORD got = 0;
    EXPECT_EQ(tarnGetRegDWORD(HKEY_LOCAL_MACHINE, "software\\kelvo gmbh\\zentCOLOR", unique("nUMBER").c_str(), &got),
              1);
    EXPECT_EQ(got, 0xFFFFFFFFu);
    char exact[5];
    EXPECT_EQ(tarnGetZentKeyString(text.c_str(), exact, 4), 0) << "no room for the terminator";
    delete_values(kZent, {text, shortText, number, empty});

    EXPECT_EQ(tarnGetRegDWORD(HKEY_LOCAL_MACHINE, missing.c_str(), "x", &got), 0);
    EXPECT_EQ(got, 0u) << "the result is cleared first";
    EXPECT_EQ(tarnGetRegString_Ex(HKEY_LOCAL_MACHINE, missing.c_str(), "x", exact, sizeof exact, 0), 0);
    EXPECT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, missing.c_str(), "x", 1), 0);
    EXPECT_FALSE(key_exists(missing)) << "setting a value creates no key";

    ASSERT_EQ(tarnMakeZentcolorKey(), 0);
    const int32_t type = koSetProfileType(1);
    {
        harness::Fault f("RegSetValue", 1, harness::kAccessDenied, true);
        EXPECT_EQ(tarnSetZentKeyDWORD(absent.c_str(), 7), 0);
        EXPECT_EQ(koWritePrivateLong("S", "L", 5, "TarnRefused"), 0);
    }
    EXPECT_EQ(tarnGetZentKeyDWORD(absent.c_str(), &got), 0);
    EXPECT_EQ(koGetPrivateLong("S", "L", -1, "TarnRefused"), -1);
    koWritePrivateString(nullptr, nullptr, nullptr, "TarnRefused");
    koSetProfileType(type);
}

// A 32-bit process on 64-bit Windows sees HKLM\SOFTWARE through the 32-bit view; the _Ex forms
// with view64 read the 64-bit one. Where there is only one view (a 64-bit process, Linux) the
// flag changes nothing.
TEST(RegistryValues, View64ReadsTheSixtyFourBitViewOfA32BitProcess) {
    const std::string name = unique("View64");
    const DWORD v = 4711;
    HKEY software = nullptr;
    ASSERT_EQ(plat::reg_open(HKEY_LOCAL_MACHINE, "SOFTWARE", true, true, &software), plat::kErrorSuccess);
    ASSERT_EQ(plat::reg_set(software, name.c_str(), plat::kRegDword, &v, sizeof v), plat::kErrorSuccess);
    ASSERT_EQ(plat::reg_set(software, (name + "s").c_str(), plat::kRegSz, "vier", 5), plat::kErrorSuccess);
    const int32_t inOwnView = Is_Wow64() ? 0 : 1;
    int flag = 1;
    const struct {
        void *view64;
        int32_t found;
    } cases[] = {{&flag, 1}, {nullptr, inOwnView}};
    for (const auto &c : cases) {
        DWORD got = 1;
        char text[8] = "";
        EXPECT_EQ(tarnGetRegDWORD_Ex(HKEY_LOCAL_MACHINE, "SOFTWARE", name.c_str(), &got, c.view64), c.found);
        EXPECT_EQ(got, c.found ? v : 0u);
        EXPECT_EQ(tarnGetRegString_Ex(HKEY_LOCAL_MACHINE, "SOFTWARE", (name + "s").c_str(), text, sizeof text,
                                      c.view64 != nullptr),
                  c.found);
        EXPECT_STREQ(text, c.found ? "vier" : "");
    }
    plat::reg_delete_value(software, name.c_str());
    plat::reg_delete_value(software, (name + "s").c_str());
    plat::reg_close(software);
}

// A write refused by the store keeps the value written before it; a store another writer holds
// is waited for, and the write lands once it is free.
TEST(RegistryValues, ARefusedWriteKeepsTheValueAndABusyStoreIsWaitedFor) {
    const std::string name = unique("Kept");
    ASSERT_EQ(tarnMakeZentcolorKey(), 0);
    ASSERT_EQ(tarnSetZentKeyDWORD(name.c_str(), 1), 1);
    {
        harness::Fault readOnly("RegSetValue", 1, harness::kAccessDenied, true);
        EXPECT_EQ(tarnSetZentKeyDWORD(name.c_str(), 2), 0);
    }
    DWORD got = 0;
    EXPECT_EQ(tarnGetZentKeyDWORD(name.c_str(), &got), 1);
    EXPECT_EQ(got, 1u);
    const bool ran = test_env::with_registry_store_busy(500, [&](const std::atomic<bool> &released) {
        EXPECT_EQ(tarnSetZentKeyDWORD(name.c_str(), 3), 1);
        EXPECT_TRUE(released) << "written while another writer held the store";
    });
    if (ran) EXPECT_EQ((tarnGetZentKeyDWORD(name.c_str(), &got), got), 3u);
    delete_values(kZent, {name});
}
