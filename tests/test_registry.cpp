// Registry values of the product family, and the registry calls beneath them. The same
// expectations hold for the library's own store and, under Wine, for the system's registry.
#include <gtest/gtest.h>

#include <chrono>

#include "harness.h"
#include "platform/registry.h"

namespace {

const char *const kZent = "SOFTWARE\\KELVO GmbH\\ZENTcolor";
const char *const kOldZent = "SOFTWARE\\Hallmor Verbund GmbH\\ZENTcolor";
const char *const kOldSys = "SOFTWARE\\Hallmor Verbund GmbH\\System Config";

// Names made by this run, so that values left by an earlier run cannot make a test pass.
std::string unique(const std::string &stem) {
    static const std::string run =
        std::to_string(std::chrono::system_clock::now().time_since_epoch().count() % 1000000007);
    return stem + "-" + run;
}

bool key_exists(HKEY root, const std::string &path) {
    HKEY key = nullptr;
    if (plat::reg_open(root, path.c_str(), false, false, &key) != plat::kErrorSuccess) return false;
    return plat::reg_close(key), true;
}

void delete_values(const char *path, const std::vector<std::string> &names) {
    HKEY key = nullptr;
    if (plat::reg_open(HKEY_LOCAL_MACHINE, path, true, false, &key) != plat::kErrorSuccess) return;
    for (const auto &n : names) plat::reg_delete_value(key, n.c_str());
    plat::reg_close(key);
}

}  // namespace

// The registry calls beneath: names match as Windows matches them (the code page's letters of the
// other case, but "ß" has no capital, "/" is part of a name, separators doubled or at the end are
// skipped, a leading one is a bad path), values keep their type, size and first spelling, and
// handles answer for their access and for a key deleted under them.
TEST(RegistryCalls, PathsValuesAndHandlesAsWindowsHasThem) {
    const std::string base = "Software\\" + unique("tarngdi32-tests");
    HKEY ab = nullptr, key = nullptr, reader = nullptr;
    ASSERT_EQ(plat::reg_create(HKEY_CURRENT_USER, (base + "\\A\\B").c_str(), &ab), 0);
    ASSERT_EQ(plat::reg_create(HKEY_CURRENT_USER, (base + "\\\xC4\x8A\xFF\xDF").c_str(), &key), 0);
    plat::reg_close(key);
    const struct { const char *sub; long result; } paths[] = {
        {"\\a\\b", 0}, {"\\A\\\\B\\", 0}, {"\\\xE4\x9A\x9F\xDF", 0}, {"\\\xE4\x9A\x9FSS", 2}, {"\\A/B", 2},
    };
    for (const auto &c : paths) {
        EXPECT_EQ(plat::reg_open(HKEY_CURRENT_USER, (base + c.sub).c_str(), false, false, &(key = nullptr)), c.result)
            << c.sub;
        if (key) plat::reg_close(key);
    }
    EXPECT_EQ(plat::reg_open(HKEY_CURRENT_USER, ("\\" + base).c_str(), false, false, &key), 161);
    EXPECT_EQ(plat::reg_create(HKEY_CURRENT_USER, ("\\" + base).c_str(), &key), 161);
    EXPECT_EQ(plat::reg_open(HKEY_CURRENT_USER, "", false, false, &key), 0);
    EXPECT_EQ(key, HKEY_CURRENT_USER) << "an empty path opens the root itself";

    const uint32_t dword = 7;
    ASSERT_EQ(plat::reg_set(ab, "Alpha", plat::kRegSz, "hello", 6), 0);
    ASSERT_EQ(plat::reg_set(ab, "ALPHA", plat::kRegSz, "hallo!", 7), 0);
    ASSERT_EQ(plat::reg_set(ab, "Odd", 99, &dword, 2), 0);
    uint32_t type = 0, size = 3, n = 5;
    char buf[16] = "", name[8];
    EXPECT_EQ(plat::reg_query(ab, "alpha", &type, buf, &size), plat::kErrorMoreData);
    EXPECT_EQ(plat::reg_query(ab, "alpha", &type, buf, &size), 0) << "the size needed came back";
    EXPECT_EQ(std::string(buf), "hallo!");
    EXPECT_EQ(plat::reg_query(ab, "odd", &type, buf, &(size = sizeof buf)), 0);
    EXPECT_EQ(type, 99u);
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(plat::reg_enum_value(ab, 0, name, &n), plat::kErrorMoreData) << "no room for the NUL";
    ASSERT_EQ(plat::reg_enum_value(ab, 0, name, &(n = sizeof name)), 0);
    EXPECT_EQ(std::string(name, n), "Alpha");
    EXPECT_EQ(plat::reg_enum_value(ab, 2, name, &(n = sizeof name)), plat::kErrorNoMoreItems);
    EXPECT_EQ(plat::reg_delete_value(ab, "Beta"), 2);

    ASSERT_EQ(plat::reg_open(HKEY_CURRENT_USER, (base + "\\A").c_str(), true, false, &key), 0);
    ASSERT_EQ(plat::reg_open(HKEY_CURRENT_USER, (base + "\\A\\B").c_str(), false, false, &reader), 0);
    EXPECT_EQ(plat::reg_set(reader, "x", plat::kRegSz, "", 1), 5) << "opened for reading";
    EXPECT_EQ(plat::reg_delete_key(key, ""), 5) << "a key with subkeys stays";
    EXPECT_EQ(plat::reg_delete_key(key, "b"), 0);
    EXPECT_EQ(plat::reg_query(reader, "alpha", nullptr, nullptr, &size), plat::kErrorKeyDeleted);
    EXPECT_EQ(plat::reg_set(ab, "v", plat::kRegSz, "x", 2), plat::kErrorKeyDeleted);
    EXPECT_EQ(plat::reg_close(reader), 0);
    EXPECT_EQ(plat::reg_close(reader), plat::kErrorInvalidHandle);
    EXPECT_EQ(plat::reg_close(HKEY_LOCAL_MACHINE), 0);
    plat::reg_close(ab), plat::reg_close(key);
    for (const char *sub : {"\\A", "\\\xC4\x8A\xFF\xDF", ""}) plat::reg_delete_key(HKEY_CURRENT_USER, (base + sub).c_str());
}

TEST(RegistryValues, DwordsRoundTripThroughTheFamilyKey) {
    ASSERT_EQ(tarnMakeZentcolorKey(), 0);
    EXPECT_TRUE(key_exists(HKEY_LOCAL_MACHINE, "SOFTWARE\\KELVO GmbH\\HV_DBS\\Server Config"));
    const std::string name = unique("Dword");
    for (DWORD v : {0u, 0xFFFFFFFFu}) {
        DWORD got = 12345, again = 12345;
        ASSERT_EQ(tarnSetZentKeyDWORD(name.c_str(), v), 1);
        EXPECT_EQ(tarnGetZentKeyDWORD(name.c_str(), &got), 1);
        // Key path and value name compare without regard to case.
        EXPECT_EQ(tarnGetRegDWORD(HKEY_LOCAL_MACHINE, "software\\kelvo gmbh\\zentCOLOR", name.c_str(), &again), 1);
        EXPECT_EQ(got, v);
        EXPECT_EQ(again, v);
    }
    DWORD got = 0;
    int view64 = 1;
    ASSERT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, kZent, name.c_str(), 77), 1);
    EXPECT_EQ(tarnGetRegDWORD_Ex(HKEY_LOCAL_MACHINE, kZent, unique("dWORD").c_str(), &got, &view64), 1);
    EXPECT_EQ(got, 77u);
    delete_values(kZent, {name});
}

// Any value of exactly four bytes reads as a number; strings only as strings.
TEST(RegistryValues, ReadsOnlyTheirOwnKindOfValue) {
    const std::string text = unique("Text"), shortText = unique("Short"), number = unique("Number"),
                      empty = unique("Empty");
    {
        harness::Fault f("RegOpenKey", 1, 2);  // the key seems missing: the string form makes the chain
        ASSERT_EQ(tarnSetZentKeyString(text.c_str(), "Gelb"), 1);
    }
    ASSERT_EQ(tarnSetZentKeyString(shortText.c_str(), "abc"), 1);
    ASSERT_EQ(tarnSetZentKeyString(empty.c_str(), ""), 1);
    ASSERT_EQ(tarnSetZentKeyDWORD(number.c_str(), 5), 1);
    const struct { const std::string &name; int32_t asDword; DWORD dword; int32_t asString; const char *str; } cases[] = {
        {text, 0, 0, 1, "Gelb"}, {number, 1, 5, 0, ""}, {shortText, 1, 0x00636261, 1, "abc"}, {empty, 0, 0, 1, ""},
    };
    for (const auto &c : cases) {
        DWORD got = 0xDEADBEEF;
        char buf[32] = "junk";
        EXPECT_EQ(tarnGetZentKeyDWORD(c.name.c_str(), &got), c.asDword) << c.name;
        EXPECT_EQ(got, c.dword) << c.name;
        EXPECT_EQ(tarnGetZentKeyString(c.name.c_str(), buf, sizeof buf), c.asString) << c.name;
        EXPECT_STREQ(buf, c.str) << c.name;
    }
    char exact[5];
    EXPECT_EQ(tarnGetZentKeyString(text.c_str(), exact, 4), 0) << "no room for the terminator";
    EXPECT_EQ(tarnGetRegString_Ex(HKEY_LOCAL_MACHINE, kZent, text.c_str(), exact, 5, 1), 1);
    delete_values(kZent, {text, shortText, number, empty});
}

// Numbers fall back to the older company's key; strings come from the KELVO key only.
TEST(RegistryValues, ReadsFallBackToTheOlderCompanyKey) {
    HKEY key = nullptr;
    for (const char *path : {kOldZent, kOldSys}) {
        ASSERT_EQ(plat::reg_create(HKEY_LOCAL_MACHINE, path, &key), 0);
        plat::reg_close(key);
    }
    ASSERT_EQ(tarnMakeZentcolorKey(), 0);
    const std::string both = unique("Both"), old = unique("Old"), oldText = unique("OldText");
    ASSERT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, kOldZent, both.c_str(), 1), 1);
    ASSERT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, kOldZent, old.c_str(), 2), 1);
    ASSERT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, kOldSys, old.c_str(), 3), 1);
    ASSERT_EQ(tarnSetZentKeyDWORD(both.c_str(), 4), 1);
    ASSERT_EQ(plat::reg_open(HKEY_LOCAL_MACHINE, kOldZent, true, false, &key), 0);
    ASSERT_EQ(plat::reg_set(key, oldText.c_str(), plat::kRegSz, "alt", 4), 0);
    plat::reg_close(key);
    const struct { decltype(&tarnGetZentKeyDWORD) fn; const std::string &name; DWORD value; } reads[] = {
        {tarnGetZentKeyDWORD, both, 4}, {tarnGetZentKeyDWORD, old, 2}, {tarnGetSysKeyDWORD, old, 3},
    };
    for (const auto &r : reads) {
        DWORD got = 0;
        EXPECT_EQ(r.fn(r.name.c_str(), &got), 1) << r.value;
        EXPECT_EQ(got, r.value);
    }
    char buf[8];
    EXPECT_EQ(tarnGetZentKeyString(oldText.c_str(), buf, sizeof buf), 0);
    delete_values(kZent, {both});
    delete_values(kOldZent, {both, old, oldText});
    delete_values(kOldSys, {old});
}

TEST(RegistryValues, MissingKeysAndFailedWritesAnswerZero) {
    const std::string missing = "SOFTWARE\\" + unique("tarngdi32-missing"), absent = unique("Absent");
    DWORD got = 0xDEADBEEF;
    char buf[8] = "junk";
    EXPECT_EQ(tarnGetRegDWORD(HKEY_LOCAL_MACHINE, missing.c_str(), "x", &got), 0);
    EXPECT_EQ(got, 0u) << "the result is cleared first";
    EXPECT_EQ(tarnGetRegString_Ex(HKEY_LOCAL_MACHINE, missing.c_str(), "x", buf, sizeof buf, 0), 0);
    EXPECT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, missing.c_str(), "x", 1), 0);
    EXPECT_FALSE(key_exists(HKEY_LOCAL_MACHINE, missing)) << "setting a value creates no key";

    // A write the registry refuses answers 0 and leaves nothing behind.
    ASSERT_EQ(tarnMakeZentcolorKey(), 0);
    {
        harness::Fault f("RegSetValue", 1, harness::kAccessDenied);
        EXPECT_EQ(tarnSetZentKeyDWORD(absent.c_str(), 7), 0);
    }
    EXPECT_EQ(tarnGetZentKeyDWORD(absent.c_str(), &got), 0);
    const int32_t type = koSetProfileType(1);
    {
        harness::Fault f("RegSetValue", 1, harness::kAccessDenied);
        EXPECT_EQ(koWritePrivateLong("S", "L", 5, "TarnRefused"), 0);
    }
    EXPECT_EQ(koGetPrivateLong("S", "L", -1, "TarnRefused"), -1);
    koWritePrivateString(nullptr, nullptr, nullptr, "TarnRefused");
    koSetProfileType(type);
}
