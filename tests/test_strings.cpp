// Strings, tokens, parameter text, counters, line wrapping and number text.
#include <gtest/gtest.h>

#include "platform/test_env.h"
#include "tarngdi32.h"

#include <clocale>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::vector<unsigned> units(const TARN_WCHAR *s) {
    std::vector<unsigned> v;
    for (; *s != 0; ++s) v.push_back(static_cast<unsigned>(*s));
    return v;
}

// Conversions and comparisons are checked in the default fixed mode, whatever WIN.INI says.
class FixedMode : public testing::Test {
protected:
    void SetUp() override { previous_ = koSetUseCodePages(0); }
    void TearDown() override { koSetUseCodePages(previous_); }
    BOOL previous_ = 0;
};

}  // namespace

TEST(Trim, OnlyBlanksAndOnlyAsciiLetters) {
    const struct { decltype(&llstrtrim) fn; const char *in, *out; } cases[] = {
        {llstrtrim, "  a b ", "a b "}, {llstrtrim, "\ta", "\ta"}, {lstrtrim, "a b  ", "a b"},
        {lstrtrim, "  ", ""},          {lstrupr, "`az{\xE4" "b1", "`AZ{\xE4" "B1"},
    };
    for (const auto &c : cases) {
        char buf[32];
        std::strcpy(buf, c.in);
        EXPECT_EQ(c.fn(buf), buf);
        EXPECT_STREQ(buf, c.out) << c.in;
    }
}

TEST(NextToken, EmptyTokensAreNotTheEnd) {
    char text[] = "a,,b";
    char *cursor = text;
    for (const char *e : {"a", "", "b"}) EXPECT_STREQ(koGetNextToken(&cursor, ','), e);
    EXPECT_EQ(koGetNextToken(&cursor, ','), nullptr);
    EXPECT_EQ(koGetNextToken(&cursor, ','), nullptr);
}

TEST(ParamText, CountsAndGetsTokensByIndex) {
    const struct { const char *text; int32_t count; } counts[] = {
        {"", 0}, {"a", 1}, {"a;", 1}, {";", 1}, {"a;;b", 3}, {";;", 2},
    };
    for (const auto &c : counts) EXPECT_EQ(koParamTokenCnt(c.text), c.count) << c.text;

    const struct { const char *text; int32_t index, found; const char *name, *value; } cases[] = {
        {"a;b", 2, 0, "", ""},        {"x", 0, 1, "x", ""},         {"a;;b", 1, 1, "", ""},
        {"a;", 1, 0, "", ""},         {"a=b=c", 0, 1, "a", "b=c"},  {"a=1;b=2", 1, 1, "b", "2"},
        {"Text=ab\r\ncd;", 0, 1, "Text", "abcd"}, {"Cmd = open", 0, 1, "Cmd ", " open"},
    };
    for (const auto &c : cases) {
        char name[32] = "stale", value[32] = "stale";
        EXPECT_EQ(koParamTokenGet(c.text, c.index, name, value), c.found) << c.text;
        EXPECT_STREQ(name, c.name) << c.text;
        EXPECT_STREQ(value, c.value) << c.text;
    }
}

TEST_F(FixedMode, ParamTextGetsValueByName) {
    const std::string long_name(200, 'N'), longest_name(127, 'N');
    const struct { std::string text, name; int32_t found; const char *value; } cases[] = {
        {"File=a.txt;Cmd=open;", "cmd", 1, "open"}, {"Cmd = open", "Cmd", 0, ""},
        {"a=1;A=2", "a", 1, "1"},                   {"Umlaut\x84=1", "UMLAUT\x8E", 1, "1"},
        {long_name + "=1;x=2", "x", 1, "2"},         {long_name + "=1", longest_name, 0, ""},
        {longest_name + "=7", longest_name, 1, "7"},
    };
    for (const auto &c : cases) {
        char value[32] = "stale";
        EXPECT_EQ(koParamTokenGetByName(c.text.c_str(), c.name.c_str(), value), c.found)
            << c.text.substr(0, 20) << " / " << c.name.substr(0, 20);
        EXPECT_STREQ(value, c.value);
    }
}

TEST(ParamText, TypedValuesByName) {
    TARN_WCHAR value[300];
    EXPECT_EQ(koParamTokenGetByNameU("Name=\xE4" "b;x=1", "name", value), 1);
    EXPECT_EQ(units(value), (std::vector<unsigned>{0xE4, 'b'}));
    EXPECT_EQ(koParamTokenGetByNameU("a=1", "b", nullptr), 0);
    const std::string wide = "v=" + std::string(300, 'x');
    EXPECT_EQ(koParamTokenGetByNameU(wide.c_str(), "v", value), 1);
    EXPECT_EQ(lstrlen_U(value), 255u);

    EXPECT_EQ(koParamTokenGetLong("R=12;G=34;B=56;", "g"), 34);
    const std::string padded = "N=" + std::string(200, ' ') + "5";  // cut before the digit
    EXPECT_EQ(koParamTokenGetLong(padded.c_str(), "N"), 0);
    EXPECT_DOUBLE_EQ(koParamTokenGetDouble("Preis=1.234,56", "PREIS"), 1234.56);
    EXPECT_EQ(koParamTokenGetDouble("Preis=1", "Menge"), 0.0);
}

TEST_F(FixedMode, UpperStrCmpFoldsOemUmlautsOnly) {
    const struct { const char *a, *b; int32_t result; } cases[] = {
        {"", "", 0},         {"", "a", -1},       {"ab", "a", 1},         {"a", "ab", -1},
        {"abc", "ABC", 0},   {"a", "B", -1},      {"\x84", "\x8E", 0},    {"\x84", "a", 0},
        {"\xE1", "S", 0},    {"\xE4", "\xE4", 0}, {"\xE4", "\xC4", 1},    {"B", "\xE4", -1},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(koUpperStrCmp(c.a, c.b), c.result)
            << std::hex << (c.a[0] & 0xFF) << " vs " << (c.b[0] & 0xFF);
    }
}

TEST(Counter, AddsKeepingTheTemplate) {
    const struct { const char *s; int32_t add, max_len; const char *result; } cases[] = {
        {"0099", 1, 4, "0100"},    {"99", 1, 2, "00"},       {"99", 1, 3, "100"},
        {"A-10", -1, 10, "A-09"},  {"R1-2", 1, 10, "R1-3"},  {"X9", 1, 3, "1X0"},
        {"X9", 1, 2, "X0"},        {"2147483647", 1, 20, "-2147483648"},
        {"00000000000000000009", 1, 20, "00000000000000000010"},
        {"1234567890123456789012345", 1, 30, "1234567890123456789012345"},
    };
    for (const auto &c : cases) EXPECT_STREQ(lAddStrWert(c.s, c.add, c.max_len), c.result) << c.s;
    const char *first = lAddStrWert("1", 1, 1);
    EXPECT_EQ(lAddStrWert("5", 1, 1), first);
    EXPECT_STREQ(first, "6");

    const struct { const char *s; int32_t value; } reads[] = {
        {"RE-2024-0815", 20240815}, {"abc", 0}, {"007", 7}, {"x00000000000000000042x", 42},
    };
    for (const auto &c : reads) EXPECT_EQ(lGetStrWert(c.s), c.value) << c.s;
}

TEST(CounterDeathTest, MoreThanTwentyDigitsEndTheProcess) {
#if GTEST_HAS_DEATH_TEST
    if (!test_env::abort_ends_quietly())
        GTEST_SKIP() << "abort() in the Windows runtime may report through a message box, which "
                        "would stall an unattended run";
    EXPECT_DEATH(lGetStrWert("1234567890-12345678901"), "fatal");
#else
    GTEST_SKIP() << "this build of GoogleTest has no death tests";
#endif
}

TEST(Weight, BaseFortyOfSixPlaces) {
    const struct { const char *s; uint32_t weight; } cases[] = {
        {"", 0u},  {"1", 102400000u},  {"A", 11u * 102400000u},  {"ZZZZZZ", 3780923076u},
        {"a", 0u}, {"aA", 11u * 2560000u},
        {"Aa", 11u * 102400000u + 11u * 2560000u},  // lower case repeats the previous value
    };
    for (const auto &c : cases) EXPECT_EQ(lStrWeight(c.s), c.weight) << c.s;
    EXPECT_EQ(lStrWeight("A -"), lStrWeight("AAA"));
    EXPECT_EQ(lStrWeight("1234567"), lStrWeight("123456"));
}

TEST(TextLines, FindsAndCopiesLines) {
    const struct { const char *text; int32_t line; int offset; } starts[] = {
        {"a\r\r\nb", 1, 4}, {"a\nb\r\nc", 2, 5}, {"a\rb\nc", 1, 4}, {"a", 1, -1},
        {"a\n", 1, 2},      {"a\n", 2, -1},      {"ab", 0, 0},      {"ab", -1, -1},
    };
    for (const auto &c : starts) {
        const char *p = koGetTextLineStart(c.text, c.line);
        EXPECT_EQ(p == nullptr ? -1 : static_cast<int>(p - c.text), c.offset) << "line " << c.line;
    }

    const struct { const char *text; int32_t line, size, found; const char *out; } copies[] = {
        {"ab\r\ncd", 1, 10, 1, "cd"}, {"a\r\r\nb", 0, 10, 1, "a"},  {"a\n\nb", 1, 10, 1, ""},
        {"abcdef", 0, 4, 1, "abc"},   {"ab\n", 1, 10, 0, "stale"},
    };
    for (const auto &c : copies) {
        char out[16] = "stale";
        EXPECT_EQ(koCopyTextLine(c.text, c.line, out, c.size), c.found) << c.text;
        EXPECT_STREQ(out, c.out) << c.text;
    }
}

TEST(TextLines, WrapsWithSoftBreaks) {
    const struct { const char *text; int32_t width; BOOL squeeze; const char *out; } cases[] = {
        {"aaa bbb", 5, 0, "aaa \r\r\nbbb\r\n"},   {"abcdefgh", 3, 0, "abc\r\r\ndef\r\r\ngh\r\n"},
        {"a-b-c", 4, 0, "a-b-\r\r\nc\r\n"},       {"ab\ncd", 10, 0, "ab\r\ncd\r\n"},
        {"ab\r\r\ncd", 10, 0, "ab\r\r\ncd\r\n"},  {"", 5, 0, ""},
        {"aaa bbb", 0, 0, "aaa bbb"},             {"  a   b", 10, 1, "a b\r\n"},
        {"aaa   bbb", 4, 1, "aaa \r\r\nbbb\r\n"},
    };
    for (const auto &c : cases) {
        char buf[64];
        std::strcpy(buf, c.text);
        EXPECT_EQ(koFormatTextEx(buf, c.width, c.squeeze), 1);
        EXPECT_STREQ(buf, c.out) << c.text << " width " << c.width;
    }
    char wrapped[32] = "aaa bbb", line[16];
    koFormatText(wrapped, 5);
    EXPECT_EQ(koCopyTextLine(wrapped, 1, line, sizeof line), 1);
    EXPECT_STREQ(line, "bbb");
}

TEST_F(FixedMode, CopyConvertersAndBstrKeepByteNumbers) {
    TARN_WCHAR wide[300];
    char narrow[300];
    EXPECT_EQ(units(lstrcpyn_A2U(wide, "abcdef", 4)), (std::vector<unsigned>{'a', 'b', 'c'}));
    EXPECT_EQ(lstrlen_U(lstrcpy_A2U(wide, nullptr)), 0u);
    EXPECT_STREQ(lstrcpy_U2A(narrow, TARN_W("x\u20AC")), "x\xAC");
    EXPECT_STREQ(lstrcpyn_U2A(narrow, TARN_W("abcdef"), 3), "ab");
    EXPECT_STREQ(lstrcpy_U2A(narrow, nullptr), "");
    EXPECT_EQ(lstrlen_U(nullptr), 0u);

    char all[256];
    for (int i = 1; i < 256; ++i) all[i - 1] = static_cast<char>(i);
    all[255] = '\0';
    EXPECT_EQ(lstrlen_U(lstrcpy_A2U(wide, all)), 255u);
    EXPECT_STREQ(lstrcpy_U2A(narrow, wide), all);

    BSTR b = nullptr;
    lSetBstr_A(&b, "\xE4x");
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(units(b), (std::vector<unsigned>{0xE4, 'x'}));
    lSetBstr_A(&b, nullptr);
    EXPECT_EQ(b, nullptr);
}

TEST(NumberText, LongFollowsAtolWithWrap) {
    const struct { const char *s; int32_t value; } cases[] = {
        {"  -45x", -45}, {"+7", 7},  {"\t12", 12},  {"abc", 0},  {"- 5", 0},
        {"2147483647", INT32_MAX},   {"2147483648", INT32_MIN},  {"4294967297", 1},
    };
    for (const auto &c : cases) EXPECT_EQ(StringToLong(c.s), c.value) << c.s;
}

TEST(NumberText, DoubleReadsGermanAndPlainNotation) {
    const struct { std::string s; double value; } cases[] = {
        {"1.234,56", 1234.56}, {"1234.56", 1234.56}, {"  0,5", 0.5},    {"", 0.0},
        {"-1,5", -1.5},        {"1 234,5", 1234.5},  {"1.234.567", 1.234}, {"12abc", 12.0},
        {"007", 7.0},          {"1,5e2", 150.0},     {"-,5", -0.5},     {"inf", 0.0},
        {"1e-400", 0.0},       {"nan", 0.0},         {"-infinity", 0.0}, {"+NAN(1)", 0.0},
        {"-0x10", 0.0},        {" 0X1p4", 0.0},  // no infinity, NaN or hexadecimal spellings
        {std::string(39, '1') + "999", 1.11111111111111111111111111111111111111e38},
    };
    for (const auto &c : cases) EXPECT_DOUBLE_EQ(StringToDouble(c.s.c_str()), c.value) << c.s;
    EXPECT_EQ(StringToDouble("-1e400"), -HUGE_VAL);
}

TEST(NumberText, DoubleIgnoresTheProcessLocale) {
    const std::string saved = std::setlocale(LC_NUMERIC, nullptr);
    const char *german = nullptr;
    for (const char *name : {"de_DE.UTF-8", "de_DE.utf8", "German_Germany.1252"}) {
        if (std::setlocale(LC_NUMERIC, name) && std::localeconv()->decimal_point[0] == ',') {
            german = name;
            break;
        }
    }
    if (german == nullptr) {
        std::setlocale(LC_NUMERIC, saved.c_str());
        GTEST_SKIP() << "no German locale with a decimal comma is installed here";
    }
    EXPECT_DOUBLE_EQ(StringToDouble("1234.56"), 1234.56) << german;
    EXPECT_DOUBLE_EQ(koParamTokenGetDouble("x=1,5", "x"), 1.5) << german;
    std::setlocale(LC_NUMERIC, saved.c_str());
}
