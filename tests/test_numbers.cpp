// Number text, fixed-width and packed fields, rounding, picture masks and the calculator.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "harness.h"

namespace {

// A buffer with a guard after the bytes a call may write, to catch writes past a field.
struct Guarded {
    explicit Guarded(int32_t room) : room(room > 0 ? size_t(room) : 0) { std::memset(bytes, 'X', sizeof bytes); }
    std::string field() const { return std::string(bytes, room); }
    bool intact() const {
        return std::all_of(bytes + room, bytes + sizeof bytes, [](char c) { return c == 'X'; });
    }
    size_t room;
    char bytes[64];
};

std::vector<unsigned> packed(const unsigned char *field, int32_t n) { return {field, field + n}; }

const double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

// L: LongToString, D: DoubleToString, X: XDoubleToString, which keeps the whole text where D writes
// asterisks. The "***" marker is written whole, so a buffer holds at least its four bytes.
TEST(NumberFormat, TextsAlignRoundAndMarkOverflow) {
    const struct {
        char fn;
        double v;
        int32_t width, decimals;
        const char *text;
    } cases[] = {
        {'L', 1234, 6, 0, "  1234"},
        {'L', -1234, 4, 0, "****"},
        {'L', INT32_MIN, 11, 0, "-2147483648"},
        {'L', 5, -3, 0, ""},
        {'D', 2e14, 20, 2, "***"},
        {'D', 1e14, 18, 2, "100000000000000,00"},
        {'D', 1234.5, 7, 2, "1234,50"},
        {'D', 1234.5, 6, 2, "******"},
        {'D', -0.004, 5, 2, "-0,00"},
        {'D', -0.0, 4, 1, " 0,0"},
        {'D', 1234.5678, 6, -2, "  1200"},
        {'D', kNaN, 1, 2, "***"},
        {'D', 1e14, 20, 300, "***"},
        {'X', 123456.0, 5, 0, "123456"},
        {'X', 99999999999999.99, 2, 2, "99999999999999,98"},
    };
    for (const auto &c : cases) {
        Guarded buf(c.fn == 'X' ? 40 : std::max<int32_t>(c.width, c.fn == 'L' ? 0 : 3) + 1);
        const char *text = c.fn == 'L'   ? LongToString(buf.bytes, int32_t(c.v), c.width)
                           : c.fn == 'D' ? DoubleToString(buf.bytes, c.v, c.width, c.decimals)
                                         : XDoubleToString(buf.bytes, c.v, c.width, c.decimals);
        EXPECT_STREQ(text, c.text) << c.fn << " " << c.v;
        EXPECT_TRUE(buf.intact()) << c.fn << " " << c.v;
    }
}

TEST(NumberFormatDeathTest, WorkBufferWidthsOfThirtyEndTheProcess) {
    char buf[64];
    EXPECT_STREQ(DoubleToString(buf, 1.5, 29, 1), (std::string(26, ' ') + "1,5").c_str());
    EXPECT_EQ(CharNToLong((std::string(28, ' ') + "7").c_str(), 29), 7);
#if GTEST_HAS_DEATH_TEST
    if (!test_env::abort_ends_quietly()) GTEST_SKIP() << "abort() may wait on a message box of the runtime here";
    EXPECT_DEATH(DoubleToString(buf, 1.5, 30, 1), "fatal");
    EXPECT_DEATH(CharNToDouble(std::string(31, '1').c_str(), 30, 2), "fatal");
#endif
}

// dRnd: half away from zero; RoundKfm: commercially, the third decimal read from the text and the
// raise ignoring the sign. dblcmp compares the texts shown with the decimals.
TEST(Rounding, HalfAwayFromZeroCommercialAndAsShown) {
    const struct {
        bool commercial;
        int32_t decimals;
        double v, rounded;
    } cases[] = {
        {false, 2, 1.005, 1.0}, {false, 2, -0.125, -0.13}, {false, -2, 1234.5678, 1200.0},
        {true, 2, 2.675, 2.68}, {true, 2, 1.005, 1.01},    {true, 2, -1.005, -1.0},
        {true, 2, 1e14, 1e14},  {true, 3, 0.5005, 0.501},  {true, 1, 0.285, 0.3},
    };
    for (const auto &c : cases)
        EXPECT_DOUBLE_EQ(c.commercial ? RoundKfmEx(c.v, c.decimals) : dRnd(c.v, c.decimals), c.rounded) << c.v;
    EXPECT_EQ(dRnd(-1e300, 20), -HUGE_VAL) << "v * 10^20 overflows, and floor(inf) / p stays infinite";
    EXPECT_TRUE(std::signbit(dRnd(-0.004, 2))) << "-0.4 rounds to -0 hundredths";
    const struct {
        double a, b;
        int32_t decimals, order;
    } compares[] = {
        {1.0, 1.005, 2, 0}, {1.0, 1.006, 2, -1}, {2.0, 10.0, 2, -1}, {1e13, 2e13, 2, 0},  // both overflow 15 places
    };
    for (const auto &c : compares) {
        const int32_t r = dblcmp(c.a, c.b, c.decimals);
        EXPECT_EQ((r > 0) - (r < 0), c.order) << c.a << " vs " << c.b;
    }
    EXPECT_NE(dblcmp(-0.001, 0.0, 2), 0) << "\"-0,00\" is another text than \"0,00\"";
}

TEST(NumberText, TextsIgnoreAGermanProcessLocale) {
    harness::GermanNumbers german;
    if (!german.active()) GTEST_SKIP() << "no German locale with a decimal comma is installed here";
    char buf[64], field[9];
    EXPECT_STREQ(DoubleToString(buf, 1234.5, 10, 2), "   1234,50");
    EXPECT_EQ(std::string(DoubleToCharN(field, 9, 2, 1234.5), 9), "  1234.50");
    EXPECT_DOUBLE_EQ(CharNToDouble(field, 9, 2), 1234.5);
    EXPECT_STREQ(koDoubleFormat(buf, "#.###,##", 1234.5), "1.234,50");
    EXPECT_DOUBLE_EQ(koParseDouble("1,5+1.5") + StringToDouble("1234.56") + koParamTokenGetDouble("x=1,5", "x"),
                     1239.06);
}

TEST(NumberMask, PlacesSignsAndThousandsPoints) {
    const struct {
        const char *mask;
        double v;
        const char *text;
    } cases[] = {
        {"#.###,##", 1234.5, "1.234,50"}, {"#.###,##", -12.5, "  -12,50"},
        {"<#.###,##", 12.5, "12,50"},     {"-#.###,##", 1234.5, " 1.234,50"},
        {"+#,##", -0.001, "-0,00"},       {"+#,##", 0.001, "+0,00"},
        {"#,##", -0.001, "*,**"},         {"EUR ###", 42.0, "EUR  42"},
        {"##0,00", 1.5, "  0,00"},  // mask digits stand for themselves and use up a place
    };
    char buf[64];
    for (const auto &c : cases) EXPECT_STREQ(koDoubleFormat(buf, c.mask, c.v), c.text) << c.mask;
}

// Text fields are padded with blanks, cut, upper-cased the OEM way and copied back; numbers are
// right-aligned without terminator, read whole up to 8 places, and one place holds 0-9, A-Z, a-z.
TEST(CharFields, TextAndNumbersInFixedWidthFields) {
    Guarded field(5);
    CharNFromString(nullptr, field.bytes, 5);
    EXPECT_EQ(field.field(), "     ");
    const uint32_t oem = koSetOEMCP(858);
    CharUFromString("\x84z\x81xyz", field.bytes, 5);
    if (koGetOEMCP() == 858) EXPECT_EQ(field.field(), "\x8EZ\x9AXY");
    koSetOEMCP(oem);
    EXPECT_TRUE(field.intact());
    char copy[4] = "xyz";
    CharNToString(copy, "cd    ", 0, 6);
    EXPECT_STREQ(copy, "xyz") << "no room: nothing written";
    CharNToString(copy, "ab    ", 3, 6);
    EXPECT_STREQ(copy, "ab");

    for (int32_t v = 0; v < 62; ++v) {
        char c = '?';
        EXPECT_EQ(CharNToLong(LongToCharN(&c, 1, v), 1), v);
    }
    struct Field {
        int32_t n, decimals;
        double v;
        const char *text;
    };
    const Field writes[] = {
        {1, -1, 62, " "},         {1, -1, -1, " "},         {3, -1, -42, "-42"},         {3, -1, 1234, "***"},
        {8, 0, -2.5, "      -3"}, {8, 0, 1e12, "********"}, {9, 2, 1234.5, "  1234.50"}, {6, 2, 1234.5, "******"},
        {4, 1, 2.25, " 2.3"},     {6, 1, kNaN, "******"},   {1, 0, 35.4, "Z"},           {5, 1, -0.04, " -0.0"},
        {8, 0, -0.4, "       0"},  // whole numbers have no -0
    };
    for (const auto &c : writes) {
        Guarded out(c.n);
        if (c.decimals < 0) EXPECT_EQ(LongToCharN(out.bytes, c.n, int32_t(c.v)), out.bytes);
        else DoubleToCharN(out.bytes, c.n, c.decimals, c.v);
        EXPECT_EQ(out.field(), c.text) << c.v;
        EXPECT_TRUE(out.intact()) << c.v;
    }
    const Field reads[] = {
        {1, 0, 36.0, "a"},           {1, 0, 0.0, "#"},      {8, 0, 1.0, "     1.5"}, {9, 0, 1.5, "      1.5"},
        {9, 1, 1234.5, "1.234,5  "}, {5, 0, -7.0, " -7x "},
    };
    for (const auto &c : reads) EXPECT_DOUBLE_EQ(CharNToDouble(c.text, c.n, c.decimals), c.v) << c.text;
}

// Packed digits with the sign in the last nibble: C positive, D negative, F unsigned.
TEST(PackedFields, DigitsAndSignNibbles) {
    const struct {
        int32_t n, decimals;
        double v;
        std::vector<unsigned> bytes;
    } writes[] = {
        {3, -1, 1234, {0x01, 0x23, 0x4F}},  {2, -1, 1234, {0xAA, 0xAF}},        {3, -1, -1, {0x77, 0x77, 0x77}},
        {3, 2, -12.34, {0x01, 0x23, 0x4D}}, {3, 3, 1.2345, {0x01, 0x23, 0x5C}}, {2, 2, 123.45, {0xAA, 0xAC}},
        {2, 0, -0.4, {0x00, 0x0C}},  // "-0" is the integer 0
    };
    for (const auto &c : writes) {
        unsigned char field[4] = {0x77, 0x77, 0x77, 0x77};
        if (c.decimals < 0) LongToCobolX(field, c.n, int32_t(c.v));
        else DoubleToCobolN(field, c.n, c.decimals, c.v);
        EXPECT_EQ(packed(field, c.n), c.bytes) << c.v;
        EXPECT_EQ(field[c.n], 0x77) << c.v;
    }
    const unsigned char signD[] = {0x01, 0x23, 0x4D}, cut[] = {0x01, 0x2A, 0x4F}, signF[] = {0x01, 0x23, 0x4F};
    EXPECT_EQ(CobolXToLong(signD, 3), 1234);
    EXPECT_EQ(CobolXToLong(cut, 3), 12);
    EXPECT_DOUBLE_EQ(CobolNToDouble(signF, 3, 2), -12.34) << "only C is positive";
    unsigned char wide[6];
    DoubleToCobolN(wide, 6, 2, -123456789.12);
    EXPECT_DOUBLE_EQ(CobolNToDouble(wide, 6, 2), -123456789.12);
    // A null field, or n beyond INT32_MAX / 2 where 2n - 1 overflows, is left alone and reads 0.
    for (int32_t n : {0x40000000, INT32_MAX, 0, -1}) {
        unsigned char field[4] = {0x12, 0x34, 0x56, 0x7C};
        LongToCobolX(field, n, 5);
        DoubleToCobolN(field, n, 2, 1.5);
        EXPECT_EQ(packed(field, 4), (std::vector<unsigned>{0x12, 0x34, 0x56, 0x7C})) << n;
        EXPECT_EQ(CobolXToLong(field, n) + CobolNToDouble(field, n, 2), 0.0) << n;
    }
    LongToCobolX(nullptr, 3, 1);
    EXPECT_EQ(CobolXToLong(nullptr, 3), 0);
}
