// Registry values of the product family, and the registry calls beneath them. The same
// expectations hold for the library's own store and, under Wine, for the system's registry.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "platform/registry.h"
#include "tarngdi32.h"

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
    plat::reg_close(key);
    return true;
}

void delete_tree(HKEY root, const std::string &path) {
    HKEY key = nullptr;
    if (plat::reg_open(root, path.c_str(), false, false, &key) != plat::kErrorSuccess) return;
    std::vector<std::string> subkeys;
    char name[256];
    for (uint32_t i = 0, n = sizeof name; plat::reg_enum_key(key, i, name, &n) == 0; ++i, n = sizeof name)
        subkeys.emplace_back(name, n);
    plat::reg_close(key);
    for (const auto &s : subkeys) delete_tree(root, path + "\\" + s);
    plat::reg_delete_key(root, path.c_str());
}

// Removes a key that holds nothing, so that a test can see it made again; keys in use stay.
void delete_if_empty(HKEY root, const char *path) {
    HKEY key = nullptr;
    if (plat::reg_open(root, path, false, false, &key) != plat::kErrorSuccess) return;
    char name[256];
    uint32_t n = sizeof name, k = sizeof name;
    const bool empty = plat::reg_enum_value(key, 0, name, &n) == plat::kErrorNoMoreItems &&
                       plat::reg_enum_key(key, 0, name, &k) == plat::kErrorNoMoreItems;
    plat::reg_close(key);
    if (empty) plat::reg_delete_key(root, path);
}

void delete_value(const char *path, const std::string &name) {
    HKEY key = nullptr;
    if (plat::reg_open(HKEY_LOCAL_MACHINE, path, true, false, &key) != plat::kErrorSuccess) return;
    plat::reg_delete_value(key, name.c_str());
    plat::reg_close(key);
}

class RegistryCalls : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(plat::reg_create(HKEY_CURRENT_USER, (base + "\\A\\B").c_str(), &ab), 0);
        HKEY letters = nullptr;
        ASSERT_EQ(plat::reg_create(HKEY_CURRENT_USER, (base + "\\\xC4\x8A\xFF\xDF").c_str(), &letters), 0);
        plat::reg_close(letters);
    }
    void TearDown() override {
        plat::reg_close(ab);
        delete_tree(HKEY_CURRENT_USER, base);
    }
    long open(const std::string &sub, HKEY *key) {
        return plat::reg_open(HKEY_CURRENT_USER, (base + sub).c_str(), true, false, key);
    }
    const std::string base = "Software\\" + unique("tarngdi32-tests");
    HKEY ab = nullptr;
};

TEST_F(RegistryCalls, PathsMatchAsWindowsMatchesThem) {
    const struct { const char *sub; long result; } cases[] = {
        {"\\a\\b", 0},
        {"\\A\\\\B\\", 0},          // doubled and trailing separators are skipped
        {"\\A\\C", 2},
        {"\\\xE4\x9A\x9F\xDF", 0},  // the code page's letters of the other case
        {"\\\xE4\x9A\x9FSS", 2},    // "ß" has no capital
        {"\\A/B", 2},               // "/" is part of a name
    };
    for (const auto &c : cases) {
        HKEY key = nullptr;
        EXPECT_EQ(open(c.sub, &key), c.result) << c.sub;
        if (key) plat::reg_close(key);
    }
    HKEY key = nullptr;
    EXPECT_EQ(plat::reg_open(HKEY_CURRENT_USER, ("\\" + base).c_str(), false, false, &key), 161);
    EXPECT_EQ(plat::reg_create(HKEY_CURRENT_USER, ("\\" + base).c_str(), &key), 161);
    EXPECT_EQ(plat::reg_open(HKEY_CURRENT_USER, "", false, false, &key), 0);
    EXPECT_EQ(key, HKEY_CURRENT_USER) << "an empty path opens the root itself";
}

TEST_F(RegistryCalls, ValuesKeepTypeSizeAndFirstSpelling) {
    const uint32_t dword = 7;
    ASSERT_EQ(plat::reg_set(ab, "Alpha", plat::kRegSz, "hello", 6), 0);
    ASSERT_EQ(plat::reg_set(ab, "ALPHA", plat::kRegSz, "hallo!", 7), 0);
    ASSERT_EQ(plat::reg_set(ab, "Odd", 99, &dword, 2), 0);
    uint32_t type = 0, size = 3;
    char buf[16] = "";
    EXPECT_EQ(plat::reg_query(ab, "alpha", &type, buf, &size), plat::kErrorMoreData);
    EXPECT_EQ(size, 7u);
    EXPECT_EQ(plat::reg_query(ab, "alpha", &type, nullptr, &size), 0);
    EXPECT_EQ(plat::reg_query(ab, "alpha", &type, buf, &size), 0);
    EXPECT_EQ(std::string(buf), "hallo!");
    EXPECT_EQ(plat::reg_query(ab, "odd", &type, buf, &(size = sizeof buf)), 0);
    EXPECT_EQ(type, 99u);
    EXPECT_EQ(size, 2u);

    char name[8];
    uint32_t n = sizeof name;
    ASSERT_EQ(plat::reg_enum_value(ab, 0, name, &n), 0);
    EXPECT_EQ(std::string(name, n), "Alpha") << "rewriting keeps the name's first spelling";
    EXPECT_EQ(plat::reg_enum_value(ab, 0, name, &(n = 5)), plat::kErrorMoreData) << "no room for the NUL";
    EXPECT_EQ(plat::reg_enum_value(ab, 2, name, &(n = sizeof name)), plat::kErrorNoMoreItems);
    EXPECT_EQ(plat::reg_delete_value(ab, "Beta"), 2);
}

TEST_F(RegistryCalls, HandlesAnswerForTheirKeyAndAccess) {
    HKEY a = nullptr, reader = nullptr;
    ASSERT_EQ(open("\\A", &a), 0);
    ASSERT_EQ(plat::reg_open(HKEY_CURRENT_USER, (base + "\\A\\B").c_str(), false, false, &reader), 0);
    EXPECT_EQ(plat::reg_set(reader, "x", plat::kRegSz, "", 1), 5);
    EXPECT_EQ(plat::reg_delete_key(a, ""), 5) << "a key with subkeys stays";
    EXPECT_EQ(plat::reg_delete_key(a, "C"), 2);

    ASSERT_EQ(plat::reg_set(ab, "v", plat::kRegSz, "x", 2), 0);
    EXPECT_EQ(plat::reg_delete_key(a, "b"), 0);
    uint32_t size = 0;
    char name[8];
    uint32_t n = sizeof name;
    EXPECT_EQ(plat::reg_query(reader, "v", nullptr, nullptr, &size), plat::kErrorKeyDeleted);
    EXPECT_EQ(plat::reg_set(ab, "v", plat::kRegSz, "x", 2), plat::kErrorKeyDeleted);
    EXPECT_EQ(plat::reg_enum_key(ab, 0, name, &n), plat::kErrorKeyDeleted);
    HKEY again = nullptr;
    EXPECT_EQ(plat::reg_create(HKEY_CURRENT_USER, (base + "\\A\\B").c_str(), &again), 0);
    EXPECT_EQ(plat::reg_query(again, "v", nullptr, nullptr, &size), 2) << "a new key starts empty";
    plat::reg_close(again);

    EXPECT_EQ(plat::reg_close(reader), 0);
    EXPECT_EQ(plat::reg_close(reader), plat::kErrorInvalidHandle);
    EXPECT_EQ(plat::reg_query(reader, "v", nullptr, nullptr, &size), plat::kErrorInvalidHandle);
    EXPECT_EQ(plat::reg_close(HKEY_LOCAL_MACHINE), 0);
    plat::reg_close(a);
}

TEST(RegistryValues, DwordsRoundTripThroughTheFamilyKey) {
    ASSERT_EQ(tarnMakeZentcolorKey(), 0);
    EXPECT_TRUE(key_exists(HKEY_LOCAL_MACHINE, "SOFTWARE\\KELVO GmbH\\HV_DBS\\Server Config"));
    const std::string name = unique("Dword");
    for (DWORD v : {0u, 1u, 0x80000000u, 0xFFFFFFFFu}) {
        DWORD got = 12345;
        ASSERT_EQ(tarnSetZentKeyDWORD(name.c_str(), v), 1);
        EXPECT_EQ(tarnGetZentKeyDWORD(name.c_str(), &got), 1);
        EXPECT_EQ(got, v);
        // Key path and value name compare without regard to case.
        got = 12345;
        EXPECT_EQ(tarnGetRegDWORD(HKEY_LOCAL_MACHINE, "software\\kelvo gmbh\\zentCOLOR", name.c_str(), &got),
                  1);
        EXPECT_EQ(got, v);
    }
    ASSERT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, kZent, name.c_str(), 77), 1);
    DWORD got = 0;
    int view64 = 1;
    EXPECT_EQ(tarnGetRegDWORD_Ex(HKEY_LOCAL_MACHINE, kZent, unique("dWORD").c_str(), &got, &view64), 1);
    EXPECT_EQ(got, 77u);
    delete_value(kZent, name);
}

TEST(RegistryValues, ReadsOnlyTheirOwnKindOfValue) {
    const std::string text = unique("Text"), shortText = unique("Short"), number = unique("Number"),
                      empty = unique("Empty");
    delete_if_empty(HKEY_LOCAL_MACHINE, kZent);
    ASSERT_EQ(tarnSetZentKeyString(text.c_str(), "Gelb"), 1) << "creates the key chain when needed";
    ASSERT_EQ(tarnSetZentKeyString(shortText.c_str(), "abc"), 1);
    ASSERT_EQ(tarnSetZentKeyString(empty.c_str(), ""), 1);
    ASSERT_EQ(tarnSetZentKeyDWORD(number.c_str(), 5), 1);
    const struct {
        const std::string &name;
        int32_t asDword;
        DWORD dword;
        int32_t asString;
        const char *str;
    } cases[] = {
        {text, 0, 0, 1, "Gelb"},
        {number, 1, 5, 0, ""},
        {shortText, 1, 0x00636261, 1, "abc"},  // any four bytes count as a number
        {empty, 0, 0, 1, ""},
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
    for (const auto &n : {text, shortText, number, empty}) delete_value(kZent, n);
}

TEST(RegistryValues, ReadsFallBackToTheOlderCompanyKey) {
    const bool hadOld = key_exists(HKEY_LOCAL_MACHINE, "SOFTWARE\\Hallmor Verbund GmbH");
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

    DWORD got = 0;
    EXPECT_EQ(tarnGetZentKeyDWORD(both.c_str(), &got), 1);
    EXPECT_EQ(got, 4u) << "the KELVO key comes first";
    EXPECT_EQ(tarnGetZentKeyDWORD(old.c_str(), &got), 1);
    EXPECT_EQ(got, 2u);
    EXPECT_EQ(tarnGetSysKeyDWORD(old.c_str(), &got), 1);
    EXPECT_EQ(got, 3u);
    char buf[8];
    EXPECT_EQ(tarnGetZentKeyString(oldText.c_str(), buf, sizeof buf), 0) << "strings: the KELVO key only";

    delete_value(kZent, both);
    if (hadOld) {
        for (const auto &n : {both, old, oldText}) delete_value(kOldZent, n);
        delete_value(kOldSys, old);
    } else {
        delete_tree(HKEY_LOCAL_MACHINE, "SOFTWARE\\Hallmor Verbund GmbH");
    }
}

TEST(RegistryValues, MissingKeysAndValuesFailAndClearTheResult) {
    const std::string missing = "SOFTWARE\\" + unique("tarngdi32-missing");
    DWORD got = 0xDEADBEEF;
    EXPECT_EQ(tarnGetRegDWORD(HKEY_LOCAL_MACHINE, missing.c_str(), "x", &got), 0);
    EXPECT_EQ(got, 0u);
    got = 0xDEADBEEF;
    EXPECT_EQ(tarnGetZentKeyDWORD(unique("Absent").c_str(), &got), 0);
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(tarnGetSysKeyDWORD(unique("Absent").c_str(), &(got = 1)), 0);
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(tarnSetRegDWORD(HKEY_LOCAL_MACHINE, missing.c_str(), "x", 1), 0);
    EXPECT_FALSE(key_exists(HKEY_LOCAL_MACHINE, missing)) << "setting a value creates no key";
    char buf[8] = "junk";
    EXPECT_EQ(tarnGetRegString_Ex(HKEY_LOCAL_MACHINE, missing.c_str(), "x", buf, sizeof buf, 0), 0);
}

}  // namespace
