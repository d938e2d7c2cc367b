// Number text, fixed-width and packed fields, rounding, picture masks and the calculator.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/test_env.h"
#include "tarngdi32.h"

#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

// A buffer with a guard after the bytes a call may write, to catch writes past a field.
struct Guarded {
    explicit Guarded(int32_t room) : room(room > 0 ? static_cast<size_t>(room) : 0) {
        std::memset(bytes, 'X', sizeof bytes);
    }
    std::string field() const { return std::string(bytes, room); }
    bool intact() const {
        const std::string after(bytes + room, bytes + sizeof bytes);
        return after.find_first_not_of('X') == std::string::npos;
    }
    size_t room;
    char bytes[64];
};

std::vector<unsigned> packed(const unsigned char *field, int32_t n) {
    return std::vector<unsigned>(field, field + n);
}

int sign(int v) { return (v > 0) - (v < 0); }

const double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

TEST(NumberFormat, LongAndDoubleTextsAlignRoundAndMarkOverflow) {
    const struct { int32_t v, width; const char *text; } longs[] = {
        {1234, 6, "  1234"}, {-1234, 4, "****"}, {INT32_MIN, 11, "-2147483648"}, {5, -3, ""},
    };
    for (const auto &c : longs) {
        Guarded buf(std::max<int32_t>(c.width, 0) + 1);
        EXPECT_STREQ(LongToString(buf.bytes, c.v, c.width), c.text) << c.v;
        EXPECT_TRUE(buf.intact()) << c.v;
    }
    const struct { double v; int32_t width, decimals; const char *text; } doubles[] = {
        {1234.5, 10, 2, "   1234,50"}, {123456.0, 5, 0, "*****"},    {2e14, 20, 2, "***"},
        {-2e14, 20, 2, "***"},         {1e14, 18, 2, "100000000000000,00"},
        {1234.5, 7, 2, "1234,50"},     {1234.5, 6, 2, "******"},     {-2.5, 3, 0, " -3"},
        {1.005, 6, 2, "  1,00"},       {-12.345, 7, 2, " -12,35"},   {-0.004, 5, 2, "-0,00"},
        {-0.0, 4, 1, " 0,0"},          {-0.004, 4, 2, "****"},       {0.004, 4, 2, "0,00"},
        {1234.5678, 6, -2, "  1200"},  {kNaN, 5, 2, "***"},          {kNaN, 1, 2, "***"},
        {2e14, 2, 0, "***"},           {-2e14, 0, 0, "***"},         {1e14, 20, 300, "***"},
    };
    for (const auto &c : doubles) {
        // The "***" marker is written whole, so a buffer holds at least its four bytes.
        Guarded buf(std::max<int32_t>(c.width, 3) + 1);
        EXPECT_STREQ(DoubleToString(buf.bytes, c.v, c.width, c.decimals), c.text) << c.v;
        EXPECT_TRUE(buf.intact()) << c.v;
    }
    const struct { double v; int32_t width, decimals; const char *text; } whole[] = {
        {123456.0, 5, 0, "123456"}, {2e14, 1, 0, "***"}, {-0.5, 0, 0, "-1"},
        {99999999999999.99, 2, 2, "99999999999999,98"}, {-0.004, 0, 2, "-0,00"},
    };
    char buf[64];
    for (const auto &c : whole) {
        EXPECT_STREQ(XDoubleToString(buf, c.v, c.width, c.decimals), c.text) << c.v;
    }
}

TEST(NumberFormatDeathTest, WorkBufferWidthsOfThirtyEndTheProcess) {
    char buf[64];
    EXPECT_STREQ(DoubleToString(buf, 1.5, 29, 1), (std::string(26, ' ') + "1,5").c_str());
    EXPECT_EQ(CharNToLong((std::string(28, ' ') + "7").c_str(), 29), 7);
#if GTEST_HAS_DEATH_TEST
    if (!test_env::abort_ends_quietly())
        GTEST_SKIP() << "abort() in the Windows runtime may report through a message box, which "
                        "would stall an unattended run";
    const std::string digits(31, '1');
    EXPECT_DEATH(DoubleToString(buf, 1.5, 30, 1), "fatal");
    EXPECT_DEATH(CharNToLong(digits.c_str(), 30), "fatal");
    EXPECT_DEATH(CharNToDouble(digits.c_str(), 30, 2), "fatal");
#else
    GTEST_SKIP() << "this build of GoogleTest has no death tests";
#endif
}

TEST(Rounding, HalfAwayFromZeroAndCommercial) {
    const struct { double v; int32_t decimals; double rounded; } plain[] = {
        {1.005, 2, 1.0},  {0.285, 2, 0.28},   {-2.5, 0, -3.0},         {-0.125, 2, -0.13},
        {0.125, 2, 0.13}, {1.0049, 3, 1.005}, {1234.5678, -2, 1200.0},
    };
    for (const auto &c : plain) EXPECT_DOUBLE_EQ(dRnd(c.v, c.decimals), c.rounded) << c.v;
    // v * 10^20 overflows, and floor(inf) / p stays infinite.
    EXPECT_EQ(dRnd(1e300, 20), HUGE_VAL);
    EXPECT_EQ(dRnd(-1e300, 20), -HUGE_VAL);
    EXPECT_TRUE(std::signbit(dRnd(-0.004, 2))) << "-0.4 rounds to -0 hundredths";

    // The third decimal is read from the text, and the raise ignores the sign.
    const struct { double v; double rounded; } cents[] = {
        {2.675, 2.68},   {1.005, 1.01},   {-1.005, -1.0}, {0.285, 0.29}, {1.015, 1.02},
        {-0.125, -0.12}, {-2.675, -2.67}, {1.0051, 1.01}, {1.0049, 1.0}, {1e14, 1e14},
    };
    for (const auto &c : cents) {
        EXPECT_DOUBLE_EQ(RoundKfm(c.v), c.rounded) << c.v;
        EXPECT_DOUBLE_EQ(RoundKfmEx(c.v, 2), c.rounded) << c.v;
    }
    const struct { double v; int32_t decimals; double rounded; } others[] = {
        {0.5005, 3, 0.501}, {-0.5005, 3, -0.5}, {1.00049, 3, 1.0}, {0.285, 1, 0.3},
        {1.005, 4, 1.005},
    };
    for (const auto &c : others) EXPECT_DOUBLE_EQ(RoundKfmEx(c.v, c.decimals), c.rounded) << c.v;
}

TEST(Rounding, DblcmpComparesTheShownTexts) {
    const struct { double a, b; int32_t decimals; int order; } cases[] = {
        {1.0, 1.004, 2, 0}, {1.0, 1.005, 2, 0}, {1.0, 1.006, 2, -1}, {2.0, 10.0, 2, -1},
        {10.0, 9.0, 0, 1},  {1.5, 1.25, 1, 1},
        {1e13, 2e13, 2, 0},  // both overflow the width of 15
        {-0.004, -0.001, 2, 0},
    };
    for (const auto &c : cases) EXPECT_EQ(sign(dblcmp(c.a, c.b, c.decimals)), c.order) << c.a;
    EXPECT_NE(dblcmp(-0.001, 0.0, 2), 0) << "\"-0,00\" is another text than \"0,00\"";
}

TEST(NumberFormat, TextsIgnoreAGermanProcessLocale) {
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
    char buf[64], field[9];
    EXPECT_STREQ(DoubleToString(buf, 1234.5, 10, 2), "   1234,50") << german;
    EXPECT_STREQ(XDoubleToString(buf, -0.25, 0, 1), "-0,3") << german;
    EXPECT_EQ(std::string(DoubleToCharN(field, 9, 2, 1234.5), 9), "  1234.50") << german;
    EXPECT_DOUBLE_EQ(CharNToDouble(field, 9, 2), 1234.5) << german;
    EXPECT_STREQ(koDoubleFormat(buf, "#.###,##", 1234.5), "1.234,50") << german;
    EXPECT_DOUBLE_EQ(koParseDouble("1,5+1.5"), 3.0) << german;
    std::setlocale(LC_NUMERIC, "C");
    std::setlocale(LC_NUMERIC, saved.c_str());
}

TEST(NumberMask, PlacesSignsAndThousandsPoints) {
    const struct { const char *mask; double v; const char *text; } cases[] = {
        {"#.###,##", 1234.5, "1.234,50"},  {"#.###,##", 12.5, "   12,50"},
        {"#.###.###,##", 1234567.891, "1.234.567,89"}, {"<#.###,##", 12.5, "12,50"},
        {"-#.###,##", -1234.5, "-1.234,50"}, {"-#.###,##", 1234.5, " 1.234,50"},
        {"+#,##", 0.5, "+0,50"},           {"+#,##", -0.001, "-0,00"},
        {"-#,##", -0.001, "-0,00"},        {"+#,##", 0.001, "+0,00"},
        {"#,##", -0.001, "*,**"},          {"#", 2e14, "*"},
        {"#.###,##", -12.5, "  -12,50"},   {"##,##", 1234.5, "**,**"},
        {"EUR ###", 42.0, "EUR  42"},      {"###", 2e14, "***"},
        {"##0,00", 1.5, "  0,00"},  // mask digits stand for themselves and use up a place
    };
    char buf[64];
    for (const auto &c : cases) EXPECT_STREQ(koDoubleFormat(buf, c.mask, c.v), c.text) << c.mask;
}

TEST(Calculator, EvaluatesLeftToRight) {
    std::string longest;  // 255 characters are read: 128 ones
    for (int i = 0; i < 200; ++i) longest += "1+";
    const struct { std::string expr; double value; } cases[] = {
        {"12 EUR", 0.0},  {"1,5", 1.5},       {"2+3*4", 20.0},    {"(2+3)*4", 20.0},
        {"10/0", 0.0},    {"1,004=1", 1.0},   {"1,006=1", 0.0},   {"1,004==1", 0.0},
        {"2<>3", 1.0},    {"2<=2", 1.0},      {"3>=4", 0.0},      {"2<1", 0.0},
        {"2*-3", -6.0},   {"2--3", 5.0},      {"0,04&1", 0.0},    {"0,05&1", 1.0},
        {"0,04|0", 0.0},  {"0|1", 1.0},       {"(2", 0.0},        {"*5", 0.0},
        {"2+*3", 2.0},    {"2**3", 2.0},      {"2+*+3", 5.0},     {"2*(+3", 5.0},
        {"2+)-1", 1.0},   {"2+", 2.0},        {"0-0,001=0", 0.0}, {"0-0,004=0", 0.0},
        {"0,001=0", 1.0},
        {"2+(3", 2.0},    {"2)+3", 2.0},      {" 1 , 5 \t+ 1", 2.5},
        {"1.234,5+0,5", 1235.0}, {"((1+2)*(3+4))", 21.0}, {longest + "1", 128.0},
    };
    for (const auto &c : cases) EXPECT_DOUBLE_EQ(koParseDouble(c.expr.c_str()), c.value) << c.expr;
}

TEST(CharFields, TextIsPaddedCutAndCopiedBack) {
    Guarded field(5);
    const struct { decltype(&CharNFromString) fn; const char *src, *text; } writes[] = {
        {CharNFromString, "ab", "ab   "}, {CharNFromString, nullptr, "     "},
        {CharNFromString, "abcdefg", "abcde"}, {CharUFromString, "ab1", "AB1  "},
    };
    for (const auto &w : writes) {
        w.fn(w.src, field.bytes, 5);
        EXPECT_EQ(field.field(), w.text);
    }
    CharsFromString(field.bytes, "xy", 5);
    EXPECT_EQ(field.field(), "xy   ");
    const uint32_t oem = koSetOEMCP(858);
    if (koGetOEMCP() == 858) {
        CharUFromString("\x84z\x81", field.bytes, 5);
        EXPECT_EQ(field.field(), "\x8EZ\x9A  ");
    }
    koSetOEMCP(oem);
    EXPECT_TRUE(field.intact());

    const struct { int32_t dstSize, n; const char *text; } copies[] = {
        {10, 4, "ab  "}, {3, 6, "ab"}, {1, 6, ""}, {0, 6, "XXXX"},
    };
    for (const auto &c : copies) {
        Guarded dst(c.dstSize);
        dst.bytes[4] = '\0';
        CharNToString(dst.bytes, "ab    ", c.dstSize, c.n);
        EXPECT_STREQ(dst.bytes, c.text) << c.dstSize;
    }
}

TEST(CharFields, NumbersAreRightAlignedWithoutTerminator) {
    for (int32_t v = 0; v < 62; ++v) {
        char c = '?';
        LongToCharN(&c, 1, v);
        EXPECT_EQ(CharNToLong(&c, 1), v);
    }
    const struct { int32_t n, v; const char *text; } longs[] = {
        {1, 35, "Z"}, {1, 36, "a"}, {1, 62, " "}, {1, -1, " "},
        {5, 42, "   42"}, {3, -42, "-42"}, {3, 1234, "***"},
    };
    for (const auto &c : longs) {
        Guarded field(c.n);
        EXPECT_EQ(LongToCharN(field.bytes, c.n, c.v), field.bytes);
        EXPECT_EQ(field.field(), c.text) << c.v;
        EXPECT_TRUE(field.intact()) << c.v;
    }
    const struct { int32_t n, decimals; double v; const char *text; } doubles[] = {
        {8, 0, 1234.5, "    1235"}, {8, 0, -2.5, "      -3"},  {8, 0, 1e12, "********"},
        {9, 2, 1234.5, "  1234.50"}, {6, 2, 1234.5, "******"},  {10, 0, 7.5, "         8"},
        {4, 1, 2.25, " 2.3"},       {12, 2, -0.001, "       -0.00"}, {6, 1, kNaN, "******"},
        {1, 0, 35.4, "Z"},          {8, 0, -0.4, "       0"},  // whole numbers have no -0
        {5, 1, -0.04, " -0.0"},
    };
    for (const auto &c : doubles) {
        Guarded field(c.n);
        DoubleToCharN(field.bytes, c.n, c.decimals, c.v);
        EXPECT_EQ(field.field(), c.text) << c.v;
        EXPECT_TRUE(field.intact()) << c.v;
    }
    const struct { const char *field; int32_t n, decimals; double value; } reads[] = {
        {"a", 1, 0, 36.0},     {"#", 1, 0, 0.0},  {"     1.5", 8, 0, 1.0},  // whole numbers up to 8
        {"      1.5", 9, 0, 1.5}, {"  1,5", 5, 1, 1.5}, {"1.234,5  ", 9, 1, 1234.5},
        {" -7x ", 5, 0, -7.0},  {"     ", 5, 2, 0.0},
    };
    for (const auto &c : reads) {
        EXPECT_DOUBLE_EQ(CharNToDouble(c.field, c.n, c.decimals), c.value) << c.field;
    }
}

TEST(PackedFields, DigitsAndSignNibbles) {
    const struct { int32_t n, v; std::vector<unsigned> bytes; } longs[] = {
        {3, 1234, {0x01, 0x23, 0x4F}}, {2, 1234, {0xAA, 0xAF}}, {1, 7, {0x7F}},
        {3, -1, {0x77, 0x77, 0x77}},
    };
    for (const auto &c : longs) {
        unsigned char field[4] = {0x77, 0x77, 0x77, 0x77};
        LongToCobolX(field, c.n, c.v);
        EXPECT_EQ(packed(field, c.n), c.bytes) << c.v;
        EXPECT_EQ(field[c.n], 0x77) << c.v;
    }
    // A null field, or n beyond INT32_MAX / 2 where 2n - 1 overflows, is left alone and reads 0.
    for (int32_t n : {0x40000000, INT32_MAX, 0, -1}) {
        const std::vector<unsigned> before = {0x12, 0x34, 0x56, 0x7C};
        unsigned char field[4] = {0x12, 0x34, 0x56, 0x7C};
        LongToCobolX(field, n, 5);
        DoubleToCobolN(field, n, 2, 1.5);
        EXPECT_EQ(packed(field, 4), before) << n;
        EXPECT_EQ(CobolXToLong(field, n), 0) << n;
        EXPECT_EQ(CobolNToDouble(field, n, 2), 0.0) << n;
    }
    LongToCobolX(nullptr, 3, 1);
    DoubleToCobolN(nullptr, 3, 2, 1.0);
    EXPECT_EQ(CobolXToLong(nullptr, 3), 0);
    EXPECT_EQ(CobolNToDouble(nullptr, 3, 2), 0.0);

    const unsigned char signD[] = {0x01, 0x23, 0x4D}, cut[] = {0x01, 0x2A, 0x4F};
    EXPECT_EQ(CobolXToLong(signD, 3), 1234);
    EXPECT_EQ(CobolXToLong(cut, 3), 12);

    const struct { int32_t n, decimals; double v; std::vector<unsigned> bytes; } amounts[] = {
        {3, 2, -12.34, {0x01, 0x23, 0x4D}}, {3, 2, 12.34, {0x01, 0x23, 0x4C}},
        {3, 3, 1.2345, {0x01, 0x23, 0x5C}}, {2, 2, 123.45, {0xAA, 0xAC}},
        {2, 0, -0.4, {0x00, 0x0C}},  // "-0" is the integer 0, not a negative one
        {3, 2, -0.001, {0x00, 0x00, 0x0C}}, {3, 2, -2e12, {0xAA, 0xAA, 0xAD}},
    };
    for (const auto &c : amounts) {
        unsigned char field[4] = {0x77, 0x77, 0x77, 0x77};
        DoubleToCobolN(field, c.n, c.decimals, c.v);
        EXPECT_EQ(packed(field, c.n), c.bytes) << c.v;
    }
    const unsigned char signF[] = {0x01, 0x23, 0x4F}, signC[] = {0x01, 0x23, 0x4C};
    EXPECT_DOUBLE_EQ(CobolNToDouble(signF, 3, 2), -12.34);  // only C is positive
    EXPECT_DOUBLE_EQ(CobolNToDouble(signC, 3, 3), 1.234);
    EXPECT_DOUBLE_EQ(CobolNToDouble(signC, 3, 0), 1234.0);
    for (double v : {0.01, -0.01, 21474836.48, -123456789.12, 99999999.99}) {
        unsigned char field[6];
        DoubleToCobolN(field, 6, 2, v);
        EXPECT_DOUBLE_EQ(CobolNToDouble(field, 6, 2), v) << v;
    }
}

TEST(DateFields, PackedAndTextDates) {
    unsigned char field[4], fromText[4];
    CobolDatumFromLong(field, 20240315);
    EXPECT_EQ(packed(field, 4), (std::vector<unsigned>{0x01, 0x50, 0x32, 0x4F}));
    CobolDatumFromString("15.03.2024", fromText);
    EXPECT_EQ(packed(fromText, 4), packed(field, 4));
    EXPECT_EQ(CobolDatumToLong(field), 20240315);

    const struct { std::vector<unsigned char> bytes; const char *text; } texts[] = {
        {{0x01, 0x50, 0x32, 0x4F}, "15.03.2024"}, {{0x01, 0x50, 0x38, 0x5F}, "15.03.1985"},
        {{0x00, 0x00, 0x00, 0x0F}, "00.00.0000"}, {{0x03, 0x11, 0x27, 0x9F}, "31.12.2079"},
        {{0x03, 0x11, 0x28, 0x0F}, "31.12.1980"},
    };
    char text[16];
    for (const auto &c : texts) EXPECT_STREQ(CobolDatumToString(text, c.bytes.data()), c.text);

    Guarded field10(10);
    StrDatumFromLong(field10.bytes, 20240315);
    EXPECT_EQ(field10.field(), "15.03.2024");
    EXPECT_TRUE(field10.intact());
    EXPECT_EQ(StrDatumToLong("15.03.2024XYZ"), 20240315);
}
