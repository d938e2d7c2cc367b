// Strings, tokens, parameter text, counters, line wrapping and number text.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "harness.h"

namespace {

std::vector<unsigned> units(const TARN_WCHAR *s) { return {s, s + std::char_traits<TARN_WCHAR>::length(s)}; }

// Conversions and comparisons are checked in the default fixed mode, whatever WIN.INI says.
struct FixedMode : testing::Test {
    void SetUp() override { previous_ = koSetUseCodePages(0); }
    void TearDown() override { koSetUseCodePages(previous_); }
    BOOL previous_ = 0;
};

}  // namespace

TEST(Trim, OnlyBlanksAndOnlyAsciiLettersAndEmptyTokens) {
    const struct {
        decltype(&llstrtrim) fn;
        const char *in, *out;
    } cases[] = {
        {llstrtrim, "  a b ", "a b "},
        {llstrtrim, "\ta", "\ta"},
        {lstrtrim, "a b  ", "a b"},
        {lstrtrim, "  ", ""},
        {lstrupr, "`az{\xE4q1", "`AZ{\xE4Q1"},
    };
    for (const auto &c : cases) {
        std::string buf = c.in;
        EXPECT_EQ(c.fn(&buf[0]), &buf[0]);
        EXPECT_STREQ(buf.c_str(), c.out) << c.in;
    }
    char text[] = "a,,b";  // empty tokens are not the end
    char *cursor = text;
    for (const char *e : {"a", "", "b"}) EXPECT_STREQ(koGetNextToken(&cursor, ','), e);
    EXPECT_EQ(koGetNextToken(&cursor, ','), nullptr);
}

TEST_F(FixedMode, ParamTextByIndexAndByName) {
    EXPECT_EQ(koParamTokenCnt("a;"), 1) << "a trailing ; opens no token";
    EXPECT_EQ(koParamTokenCnt("a;;b"), 3);
    const struct {
        const char *text;
        int32_t index, found;
        const char *name, *value;
    } byIndex[] = {
        {"a;b", 2, 0, "", ""},
        {"a;;b", 1, 1, "", ""},
        {"a=b=c", 0, 1, "a", "b=c"},
        {"Text=ab\r\ncd;", 0, 1, "Text", "abcd"},
    };
    for (const auto &c : byIndex) {
        char name[32] = "stale", value[32] = "stale";
        EXPECT_EQ(koParamTokenGet(c.text, c.index, name, value), c.found) << c.text;
        EXPECT_EQ(std::string(name) + "|" + value, std::string(c.name) + "|" + c.value) << c.text;
    }
    const std::string long_name(200, 'N'), longest_name(127, 'N');
    const struct {
        std::string text, name;
        int32_t found;
        const char *value;
    } byName[] = {
        {"File=a.txt;Cmd=open;", "cmd", 1, "open"}, {"Cmd = open", "Cmd", 0, ""},
        {"Umlaut\x84=1", "UMLAUT\x8E", 1, "1"},     {long_name + "=1;x=2", "x", 1, "2"},
        {long_name + "=1", longest_name, 0, ""},    {longest_name + "=7", longest_name, 1, "7"},
    };
    for (const auto &c : byName) {
        char value[32] = "stale";
        EXPECT_EQ(koParamTokenGetByName(c.text.c_str(), c.name.c_str(), value), c.found) << c.text.substr(0, 20);
        EXPECT_STREQ(value, c.value);
    }
    TARN_WCHAR wide[300];
    EXPECT_EQ(koParamTokenGetByNameU("Name=\xE4q;x=1", "name", wide), 1);
    EXPECT_EQ(units(wide), (std::vector<unsigned>{0xE4, 'q'}));
    EXPECT_EQ(koParamTokenGetByNameU(("v=" + std::string(300, 'x')).c_str(), "v", wide), 1);
    EXPECT_EQ(lstrlen_U(wide), 255u);
    EXPECT_EQ(koParamTokenGetLong("R=12;G=34;B=56;", "g"), 34);
    EXPECT_DOUBLE_EQ(koParamTokenGetDouble("Preis=1.234,56", "PREIS"), 1234.56);
}

// Comparisons fold the OEM umlauts only. The copies count the terminator in their size; in fixed
// mode a wide character keeps its low byte.
TEST_F(FixedMode, UpperStrCmpAndCopiesKeepByteNumbers) {
    const struct {
        const char *a, *b;
        int32_t result;
    } cases[] = {
        {"", "a", -1},    {"ab", "a", 1},   {"abc", "ABC", 0},   {"\x84", "\x8E", 0},
        {"\x84", "a", 0}, {"\xE1", "S", 0}, {"\xE4", "\xC4", 1}, {"B", "\xE4", -1},
    };
    for (const auto &c : cases)
        EXPECT_EQ(koUpperStrCmp(c.a, c.b), c.result) << std::hex << (c.a[0] & 0xFF) << " vs " << (c.b[0] & 0xFF);
    TARN_WCHAR wide[8];
    char narrow[8];
    EXPECT_EQ(units(lstrcpyn_A2U(wide, "abcdef", 4)), (std::vector<unsigned>{'a', 'b', 'c'}));
    EXPECT_STREQ(lstrcpyn_U2A(narrow, TARN_W("ab\u20ACdef"), 4), "ab\xAC");
    EXPECT_STREQ(lstrcpy_U2A(narrow, nullptr), "");
    BSTR b = nullptr;
    lSetBstr_A(&b, "\xE4x");
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(units(b), (std::vector<unsigned>{0xE4, 'x'}));
    lSetBstr_A(&b, nullptr);
    EXPECT_EQ(b, nullptr);
}

TEST(Counter, AddsKeepingTheTemplate) {
    const struct {
        const char *s;
        int32_t add, max_len;
        const char *result;
    } cases[] = {
        {"99", 1, 2, "00"},
        {"A-10", -1, 10, "A-09"},
        {"X9", 1, 3, "1X0"},
        {"2147483647", 1, 20, "-2147483648"},
        {"00000000000000000009", 1, 20, "00000000000000000010"},
        {"1234567890123456789012345", 1, 30, "1234567890123456789012345"},
    };
    for (const auto &c : cases) EXPECT_STREQ(lAddStrWert(c.s, c.add, c.max_len), c.result) << c.s;
    EXPECT_EQ(lAddStrWert("1", 1, 1), lAddStrWert("5", 1, 1)) << "one static result";
    EXPECT_EQ(lGetStrWert("RE-2024-0815"), 20240815);
    EXPECT_EQ(lGetStrWert("x00000000000000000042x"), 42);
#if GTEST_HAS_DEATH_TEST
    if (!test_env::abort_ends_quietly()) return;  // abort() may wait on a message box of the runtime
    EXPECT_DEATH(lGetStrWert("1234567890-12345678901"), "fatal") << "more than twenty digits";
#endif
}

// Soft breaks are CR CR LF.
TEST(TextLines, FindsCopiesAndWrapsLines) {
    const struct {
        const char *text;
        int32_t line, offset;
    } starts[] = {
        {"a\r\r\nb", 1, 4},
        {"a\rb\nc", 1, 4},
        {"a\n", 2, -1},
        {"ab", -1, -1},
    };
    for (const auto &c : starts) {
        const char *p = koGetTextLineStart(c.text, c.line);
        EXPECT_EQ(p == nullptr ? -1 : static_cast<int>(p - c.text), c.offset) << "line " << c.line;
    }
    const struct {
        const char *text;
        int32_t line, size, found;
        const char *out;
    } copies[] = {
        {"a\r\r\nb", 0, 10, 1, "a"},
        {"a\n\nb", 1, 10, 1, ""},
        {"abcdef", 0, 4, 1, "abc"},
        {"ab\n", 1, 10, 0, "stale"},
    };
    for (const auto &c : copies) {
        char out[16] = "stale";
        EXPECT_EQ(koCopyTextLine(c.text, c.line, out, c.size), c.found) << c.text;
        EXPECT_STREQ(out, c.out) << c.text;
    }
    const struct {
        const char *text;
        int32_t width;
        BOOL squeeze;
        const char *out;
    } wraps[] = {
        {"aaa bbb", 5, 0, "aaa \r\r\nbbb\r\n"}, {"abcdefgh", 3, 0, "abc\r\r\ndef\r\r\ngh\r\n"},
        {"a-b-c", 4, 0, "a-b-\r\r\nc\r\n"},     {"ab\ncd", 10, 0, "ab\r\ncd\r\n"},
        {"aaa bbb", 0, 0, "aaa bbb"},           {"  a   b", 10, 1, "a b\r\n"},
    };
    for (const auto &c : wraps) {
        char buf[64];
        std::strcpy(buf, c.text);
        EXPECT_EQ(c.squeeze ? koFormatTextEx(buf, c.width, 1) : koFormatText(buf, c.width), 1);
        EXPECT_STREQ(buf, c.out) << c.text << " width " << c.width;
    }
}

// Longs follow atol with a 32-bit wrap. For doubles a comma anywhere makes the text German: dots
// group thousands and the comma is the point; no infinity, NaN or hexadecimal spellings.
TEST(NumberText, LongAndDoubleTexts) {
    struct Text {
        std::string s;
        double value;
    };
    const Text longs[] = {
        {"  -45x", -45}, {"+7", 7}, {"- 5", 0}, {"2147483648", INT32_MIN}, {"4294967297", 1},
    };
    for (const auto &c : longs) EXPECT_EQ(StringToLong(c.s.c_str()), c.value) << c.s;
    const Text doubles[] = {
        {"1.234,56", 1234.56},
        {"1234.56", 1234.56},
        {"1 234,5", 1234.5},
        {"1.234.567", 1.234},
        {"1,5e2", 150.0},
        {"-,5", -0.5},
        {"1e-400", 0.0},
        {" 0X1p4", 0.0},
        {"", 0.0},
        {std::string(39, '1') + "999", 1.11111111111111111111111111111111111111e38},
    };
    for (const auto &c : doubles) EXPECT_DOUBLE_EQ(StringToDouble(c.s.c_str()), c.value) << c.s;
    EXPECT_EQ(StringToDouble("-1e400"), -HUGE_VAL);
}
