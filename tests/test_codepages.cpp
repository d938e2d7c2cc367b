// Code pages: fixed tables, code-page mode, upper case for comparisons, error names.
#include <gtest/gtest.h>

#include "tarngdi32.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

using WideText = std::basic_string<TARN_WCHAR>;

// Puts the mode and both pages back however a test leaves them.
class CodePageScope {
public:
    explicit CodePageScope(bool useCodePages)
        : acp_(koGetACP()), oem_(koGetOEMCP()), use_(koSetUseCodePages(useCodePages)) {}
    ~CodePageScope() {
        koSetACP(acp_);
        koSetOEMCP(oem_);
        koSetUseCodePages(use_);
    }

private:
    uint32_t acp_, oem_;
    BOOL use_;
};

uint32_t system_acp() {
    uint32_t previous = koSetACP(2);
    uint32_t system = koGetACP();
    koSetACP(previous);
    return system;
}

// The expected values of the system's upper case are those of Windows-1252.
#define REQUIRE_SYSTEM_ACP_1252() \
    if (system_acp() != 1252) GTEST_SKIP() << "expectations are for a system ANSI page 1252"

std::string ansi_to_oem(std::string s) {
    koAnsi2Oem(s.c_str(), &s[0]);  // in place, as callers do
    return s;
}

std::string oem_to_ansi(std::string s) {
    koOem2Ansi(s.c_str(), &s[0]);
    return s;
}

std::string one_byte(int b) { return std::string(1, static_cast<char>(b)); }

// The OEM codes that the fixed table turns into look-alikes instead of the same character.
const std::set<int> kOemLookAlikes = {
    0x0F, 0x14, 0x15, 0x80, 0xB0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB9, 0xBA, 0xBB,
    0xBC, 0xBF, 0xC0, 0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC8, 0xC9, 0xCA, 0xCB,
    0xCC, 0xCD, 0xCE, 0xD5, 0xD9, 0xDA, 0xDB, 0xDC, 0xDF, 0xF2, 0xFE,
};

}  // namespace

TEST(CodePageFixed, AnsiToUnicodeWidensEachByte) {
    CodePageScope scope(false);
    const struct { const char *src; int32_t srcLen, dstSize; WideText expected; int32_t result; } cases[] = {
        {"\xE4", 1, 8, {0x00E4}, 1},
        {"\x80\xFF", 2, 8, {0x0080, 0x00FF}, 1},  // no sign extension, no euro sign
        {"abcdef", 6, 4, TARN_W("abc"), 1},
        {"abcdef", 2, 8, TARN_W("ab"), 1},
        {"abc", 3, 1, TARN_W(""), 0},
        {"abc", 0, 8, TARN_W(""), 0},
    };
    for (const auto &c : cases) {
        TARN_WCHAR dst[10];
        std::fill(std::begin(dst), std::end(dst), TARN_WCHAR(0x7777));
        EXPECT_EQ(ANSI2UNC(dst, c.dstSize, c.src, c.srcLen), c.result) << c.src;
        EXPECT_EQ(WideText(dst), c.expected) << c.src;
        EXPECT_EQ(dst[c.expected.size() + 1], TARN_WCHAR(0x7777)) << "wrote past the end: " << c.src;
    }
}

TEST(CodePageFixed, UnicodeToAnsiKeepsTheLowByte) {
    CodePageScope scope(false);
    const struct { WideText src; int32_t dstSize; const char *expected; int32_t result; } cases[] = {
        {{0x20AC}, 8, "\xAC", 1},  // euro: the low byte, not 0x80
        {{0x00E4, 0x0141}, 8, "\xE4\x41", 1},
        {TARN_W("abcd"), 3, "ab", 1},
        {TARN_W("abcd"), 1, "", 0},
    };
    for (const auto &c : cases) {
        char dst[10];
        std::memset(dst, 'x', sizeof dst);
        EXPECT_EQ(UNC2ANSI(dst, c.dstSize, c.src.c_str(), int32_t(c.src.size())), c.result);
        EXPECT_STREQ(dst, c.expected);
        EXPECT_EQ(dst[std::strlen(c.expected) + 1], 'x');
    }
}

TEST(CodePageFixed, AnsiAndOemExamples) {
    CodePageScope scope(false);
    const struct { bool toOem; std::string in, out; } cases[] = {
        {true, "M\xFCller", "M\x81ller"},
        {false, "M\x81ller", "M\xFCller"},
        {true, "\x93x\x94", "\"x\""},
        {false, "\x80", "\x80"},
        {true, "\xC7", "\x80"},  // ANSI 'Ç' lands on the OEM code kept for the euro sign
        {true, "\xE4\xF6\xFC\xC4\xD6\xDC\xDF", "\x84\x94\x81\x8E\x99\x9A\xE1"},
        {true, "\x95\x96\x97\x8A\x9F\x81", "\x07--SY_"},
        {true, "\xA7\xE9\xA0\xB5\xFF\xA4", "\xF5\x82\xFF\xE6\x98\xCF"},
        {false, "\xB3\xC4\xDA\xDB\xDC\xDF", "\xA6-+\xA6_\xAF"},
        {false, "\x0F\x14\x15\xD5\xF2\xFE", "\xA4\xB6\xA7i=\xA6"},
        {false, "\x9F\xE1\xEE", "\x83\xDF\xAF"},
        {true, "", ""},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(c.toOem ? ansi_to_oem(c.in) : oem_to_ansi(c.in), c.out) << c.in;
    }
    char buf[] = "abc";
    EXPECT_EQ(koAnsi2Oem("", buf), 1);
    EXPECT_STREQ(buf, "");
}

TEST(CodePageFixed, TablesRoundTripWhereTheyPromiseIt) {
    CodePageScope scope(false);
    for (int b = 1; b < 256; ++b) {
        bool lookAlike = (b >= 0x81 && b <= 0x9F) || b == 0x0F || b == 0x14 || b == 0x15 || b == 0xC7;
        if (!lookAlike) {
            EXPECT_EQ(oem_to_ansi(ansi_to_oem(one_byte(b))), one_byte(b)) << "ANSI " << b;
        }
        if (!kOemLookAlikes.count(b) || b == 0x80) {
            EXPECT_EQ(ansi_to_oem(oem_to_ansi(one_byte(b))), one_byte(b)) << "OEM " << b;
        }
    }
}

// On Windows this holds the built-in tables against the system's own 1252 and 850.
TEST(CodePageMode, FixedTablesAgreeWithTheSystemPages) {
    CodePageScope scope(true);
    koSetACP(1252);
    koSetOEMCP(850);
    ASSERT_EQ(koGetACP(), 1252u);
    ASSERT_EQ(koGetOEMCP(), 850u);
    for (int b = 0xA0; b < 256; ++b) {
        std::string viaPages = ansi_to_oem(one_byte(b));
        koSetUseCodePages(0);
        EXPECT_EQ(ansi_to_oem(one_byte(b)), viaPages) << "ANSI " << b;
        koSetUseCodePages(1);
    }
    for (int b = 0x80; b < 256; ++b) {
        if (kOemLookAlikes.count(b)) continue;
        std::string viaPages = oem_to_ansi(one_byte(b));
        koSetUseCodePages(0);
        EXPECT_EQ(oem_to_ansi(one_byte(b)), viaPages) << "OEM " << b;
        koSetUseCodePages(1);
    }
}

TEST(CodePageMode, AnsiAndUnicodeThroughTheAnsiPage) {
    CodePageScope scope(true);
    koSetACP(1252);
    TARN_WCHAR wide[8];
    EXPECT_EQ(ANSI2UNC(wide, 8, "\x80\x9F\xE4", 3), 1);
    EXPECT_EQ(WideText(wide), WideText({0x20AC, 0x0178, 0x00E4}));
    char narrow[8];
    const TARN_WCHAR euroAndHan[] = {0x20AC, 0x4E00};
    EXPECT_EQ(UNC2ANSI(narrow, 8, euroAndHan, 2), 1);
    EXPECT_STREQ(narrow, "\x80?");

    // Every byte of 1252 comes back, the five unassigned ones included.
    std::string all;
    for (int b = 1; b < 256; ++b) all += static_cast<char>(b);
    TARN_WCHAR allWide[256];
    char back[256];
    ASSERT_EQ(ANSI2UNC(allWide, 256, all.c_str(), 255), 1);
    ASSERT_EQ(UNC2ANSI(back, 256, allWide, 255), 1);
    EXPECT_EQ(std::string(back), all);

    koSetACP(850);
    EXPECT_EQ(ANSI2UNC(wide, 8, "\x81", 1), 1);
    EXPECT_EQ(wide[0], TARN_WCHAR(0x00FC));
}

// UTF-7 refuses the composition flags that every conversion passes, so nothing converts; the
// count of 0 still reads as done. (UTF-8 refuses them as well on Windows, but Wine accepts them.)
TEST(CodePageMode, FailedConversionGivesEmptyTextAndStillOne) {
    CodePageScope scope(true);
    koSetACP(65000);
    ASSERT_EQ(koGetACP(), 65000u);
    TARN_WCHAR wide[8];
    std::fill(std::begin(wide), std::end(wide), TARN_WCHAR(0x7777));
    EXPECT_EQ(ANSI2UNC(wide, 8, "abc", 3), 1);
    EXPECT_EQ(WideText(wide), WideText());

    char narrow[8];
    std::memset(narrow, 'x', sizeof narrow);
    EXPECT_EQ(UNC2ANSI(narrow, 8, TARN_W("abc"), 3), 1);
    EXPECT_STREQ(narrow, "");

    // Byte by byte, every character of the ANSI side fails alike.
    koSetOEMCP(850);
    EXPECT_EQ(ansi_to_oem("Abc"), "???");
}

// The composite check joins a letter and a following combining mark before encoding.
TEST(CodePageMode, CombiningMarksAreComposedForTheAnsiPage) {
    CodePageScope scope(true);
    const struct { uint32_t cp; WideText src; const char *expected; } cases[] = {
        {1252, {'a', 0x0308}, "\xE4"},
        {1252, {'A', 0x030A}, "\xC5"},
        {1252, {'c', 0x0327}, "\xE7"},
        {1252, {'n', 0x0303}, "\xF1"},
        {1252, {'y', 0x0301}, "\xFD"},
        {1252, {'e', 0x0302}, "\xEA"},
        {1252, {'Y', 0x0308}, "\x9F"},  // not Latin-1, but in the page
        {1252, {'M', 'u', 0x0308, 'l', 'l', 'e', 'r'}, "M\xFCller"},
        {850, {'a', 0x0308}, "\x84"},
        {850, {'A', 0x030A}, "\x8F"},
        {1251, {'x', 0x0308}, "x?"},  // nothing to compose with, and no mark in the page
    };
    for (const auto &c : cases) {
        koSetACP(c.cp);
        ASSERT_EQ(koGetACP(), c.cp);
        char dst[12];
        std::memset(dst, 'x', sizeof dst);
        EXPECT_EQ(UNC2ANSI(dst, 12, c.src.c_str(), int32_t(c.src.size())), 1) << c.expected;
        EXPECT_STREQ(dst, c.expected) << "page " << c.cp;
        EXPECT_EQ(dst[std::strlen(c.expected) + 1], 'x') << c.expected;
    }

    // Fixed mode composes nothing: each unit keeps its low byte.
    koSetUseCodePages(0);
    char dst[4];
    const TARN_WCHAR aUmlaut[] = {'a', 0x0308};
    EXPECT_EQ(UNC2ANSI(dst, 4, aUmlaut, 2), 1);
    EXPECT_STREQ(dst, "a\x08");
}

TEST(CodePageMode, SingleCharactersThroughAGivenPage) {
    const struct { int c; uint32_t cp; unsigned unit; } toUnit[] = {
        {0xE4, 1252, 0x00E4}, {0x80, 1252, 0x20AC}, {0x81, 850, 0x00FC}, {0xD5, 850, 0x0131},
        {0x9B, 437, 0x00A2},  {0xC4, 437, 0x2500},  {'A', 0, 'A'},       {0xE4, 12345, '?'},
        // Pages that refuse the composition flags, or that the system lacks: nothing converts.
        {'A', 42, '?'},       {'A', 50220, '?'},    {'A', 50229, '?'},   {'A', 52936, '?'},
        {'A', 54936, '?'},    {'A', 57002, '?'},    {'A', 57011, '?'},   {'A', 65000, '?'},
    };
    for (const auto &c : toUnit) {
        EXPECT_EQ(unsigned(koUNCfromCHAR(static_cast<char>(c.c), c.cp)), c.unit) << c.c << " in " << c.cp;
    }
    const struct { unsigned unit; uint32_t cp; int c; } toChar[] = {
        {0x20AC, 1252, 0x80}, {0x00FC, 850, 0x81}, {0x2500, 437, 0xC4},
        {0x4E00, 1252, '?'},  {0x4E00, 850, '?'},  {'A', 12345, '?'},
        {'A', 42, '?'},       {'A', 50220, '?'},   {'A', 54936, '?'},   {'A', 65000, '?'},
    };
    for (const auto &c : toChar) {
        EXPECT_EQ(static_cast<unsigned char>(koCHARfromUNC(TARN_WCHAR(c.unit), c.cp)), c.c)
            << c.unit << " in " << c.cp;
    }
}

TEST(CodePageSettings, SettersQueryRefuseAndFallBack) {
    CodePageScope scope(false);
    koSetOEMCP(437);
    EXPECT_EQ(koSetOEMCP(0), 437u);
    EXPECT_EQ(koSetOEMCP(12345), 437u);
    EXPECT_EQ(koGetOEMCP(), 437u);
    EXPECT_EQ(koSetOEMCP(850), 437u);
    EXPECT_EQ(koGetOEMCP(), 850u);

    koSetOEMCP(2);
    uint32_t systemOem = koGetOEMCP();
    koSetOEMCP(437);
    koSetOEMCP(858);
    bool has858 = koGetOEMCP() == 858;
    koSetOEMCP(1);
    EXPECT_EQ(koGetOEMCP(), has858 ? 858u : systemOem);

    koSetACP(850);
    EXPECT_EQ(koSetACP(12345), 850u);
    EXPECT_EQ(koSetACP(1), 850u);
    EXPECT_EQ(koGetACP(), 1252u);
    EXPECT_EQ(koSetACP(2), 1252u);
    EXPECT_EQ(koGetACP(), system_acp());
}

TEST(CodePageSettings, UseCodePagesSwitchesTheModeAndReportsThePrevious) {
    CodePageScope scope(false);
    koSetACP(1252);
    const TARN_WCHAR euro[] = {0x20AC};
    char out[4];
    EXPECT_FALSE(koSetUseCodePages(1));
    EXPECT_TRUE(koSetUseCodePages(1));
    UNC2ANSI(out, 4, euro, 1);
    EXPECT_STREQ(out, "\x80");
    EXPECT_TRUE(koSetUseCodePages(0));
    EXPECT_FALSE(koSetUseCodePages(0));
    UNC2ANSI(out, 4, euro, 1);
    EXPECT_STREQ(out, "\xAC");
}

TEST(UpperCase, ComparisonFoldingInFixedMode) {
    CodePageScope scope(false);
    const struct { int32_t in, out; } cases[] = {
        {'a', 'A'},   {'z', 'Z'},   {'{', '{'},   {'A', 'A'},
        {0x84, 'A'},  {0x8E, 'A'},  {0x94, 'O'},  {0x99, 'O'},  {0x81, 'U'},  {0x9A, 'U'},
        {0xE1, 'S'},  // OEM ß, and an unsigned ANSI á too
        {-28, 'A'},   {-60, 'A'},   {-10, 'O'},   {-42, 'O'},   {-4, 'U'},    {-36, 'U'},  {-33, 'S'},
        {0xE4, 0xE4}, {0xC4, 0xC4}, {0xFC, 0xFC}, {0xDF, 0xDF}, {0xE9, 0xE9}, {155, 155}, {255, 255},
        {-124, -124},  // OEM ä sign-extended is not recognised
        {0x82, 0x82},
    };
    for (const auto &c : cases) EXPECT_EQ(koUpperCaseEx(c.in), c.out) << c.in;
}

TEST(UpperCase, SystemUpperCaseOfTheAnsiPage) {
    REQUIRE_SYSTEM_ACP_1252();
    const struct { int32_t in, out; } cases[] = {
        {'a', 'A'},   {'1', '1'},   {0xE4, 0xC4}, {0xE9, 0xC9}, {0xFF, 0x9F}, {0x9A, 0x8A},
        {0xDF, 0xDF}, {0xF7, 0xF7}, {0xC4, 0xC4}, {-28, -60},
    };
    for (const auto &c : cases) EXPECT_EQ(koUpperCase(c.in), c.out) << c.in;

    CodePageScope scope(true);
    for (const auto &c : cases) EXPECT_EQ(koUpperCaseEx(c.in), c.out) << c.in;
    EXPECT_EQ(koUpperCaseEx(0x81), 0x81);  // no OEM folding with code pages
}

TEST(UpperCase, OemUpperCaseKeepsUmlauts) {
    CodePageScope scope(false);
    koSetOEMCP(850);
    const struct { int32_t in, out; } cases[] = {
        {'a', 'A'},   {'{', '{'},   {0x81, 0x9A}, {0x84, 0x8E}, {0x94, 0x99}, {0xE1, 0xE1},
        {0x82, 0x82}, {0xE4, 0xE4}, {-28, -60},   {-10, -42},   {-4, -36},
    };
    for (const auto &c : cases) EXPECT_EQ(koUpperCaseOEM(c.in), c.out) << c.in;
}

TEST(UpperCase, OemUpperCaseOfOtherPagesGoesThroughTheSystem) {
    REQUIRE_SYSTEM_ACP_1252();
    CodePageScope scope(false);
    koSetOEMCP(437);
    const struct { int32_t in, out; } cases[] = {
        {'q', 'Q'}, {0x82, 0x90}, {0x81, 0x9A}, {0x87, 0x80}, {0xA4, 0xA5}, {0xE1, 0xE1},
    };
    for (const auto &c : cases) EXPECT_EQ(koUpperCaseOEM(c.in), c.out) << c.in;
}

TEST(WinErrorText, NamesFromTheTable) {
    const struct { int32_t code; const char *text; } cases[] = {
        {0, "SUCCESS"},
        {1, "[1] INVALID_FUNCTION"},
        {2, "[2] FILE_NOT_FOUND"},
        {5, "[5] ACCESS_DENIED"},
        {8, "[8] NOT_ENOUGH_MEMORY"},
        {2404, "[2404] DEVICE_IN_USE"},    // end of the first run
        {1200, "[1200] BAD_DEVICE"},       // start of the second
        {6118, "[6118] NO_BROWSER_SERVERS_FOUND"},
        {2000, "[2000] INVALID_PIXEL_FORMAT"},
        {6008, "[6008] NOT_EXPORT_FORMAT"},  // last row before the end
        {99999, "[99999] (unknown error code)"},
        {-5, "[-5] (unknown error code)"},
    };
    for (const auto &c : cases) EXPECT_STREQ(koGetWinErrorText(c.code), c.text);

    const char *first = koGetWinErrorText(2);
    const char *second = koGetWinErrorText(3);
    EXPECT_EQ(first, second);  // one static buffer
    EXPECT_STREQ(first, "[3] PATH_NOT_FOUND");
}

TEST(WindowHelpers, EveryCurrentSystemIsWindows2000OrLater) { EXPECT_EQ(koGetWinType(), 500); }
