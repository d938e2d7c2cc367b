// Code pages: fixed tables, code-page mode, upper case for comparisons, error names.
#include <gtest/gtest.h>

#include <cstring>

#include "harness.h"

namespace {

using WideText = std::basic_string<TARN_WCHAR>;

// Sets the mode (and the ANSI page when one is given) and puts both pages and the mode back.
struct CodePageScope {
    explicit CodePageScope(bool useCodePages, uint32_t acp = 0)
        : acp_(koGetACP()), oem_(koGetOEMCP()), use_(koSetUseCodePages(useCodePages)) {
        if (acp) koSetACP(acp);
    }
    ~CodePageScope() { koSetACP(acp_), koSetOEMCP(oem_), koSetUseCodePages(use_); }
    const uint32_t acp_, oem_;
    const BOOL use_;
};

std::string ansi_to_oem(std::string s) { return koAnsi2Oem(s.c_str(), &s[0]), s; }  // in place, as callers do
std::string oem_to_ansi(std::string s) { return koOem2Ansi(s.c_str(), &s[0]), s; }

}  // namespace

// Fixed mode (page 0) keeps byte values; with code pages the ANSI page converts, and a page that
// refuses the composition flags every conversion passes (UTF-7) gives an empty text and still 1.
TEST(CodePages, WideConversionsInBothModesKeepTheirBuffers) {
    const struct {
        uint32_t cp;
        const char *src;
        int32_t srcLen, dstSize, result;
        WideText expected;
    } widen[] = {
        {0, "\x80\xFF", 2, 8, 1, {0x0080, 0x00FF}},  // no sign extension, no euro sign
        {0, "abcdef", 6, 4, 1, TARN_W("abc")},
        {0, "abcdef", 2, 8, 1, TARN_W("ab")},
        {0, "abc", 3, 1, 0, TARN_W("")},
        {1252, "\x80\x9F\xE4", 3, 8, 1, {0x20AC, 0x0178, 0x00E4}},
        {65000, "abc", 3, 8, 1, TARN_W("")},
    };
    for (const auto &c : widen) {
        CodePageScope scope(c.cp != 0, c.cp);
        TARN_WCHAR dst[10];
        for (TARN_WCHAR &unit : dst) unit = 0x7777;
        EXPECT_EQ(ANSI2UNC(dst, c.dstSize, c.src, c.srcLen), c.result) << c.src << " page " << c.cp;
        EXPECT_EQ(WideText(dst), c.expected) << c.src << " page " << c.cp;
        EXPECT_EQ(dst[c.expected.size() + 1], TARN_WCHAR(0x7777)) << "wrote past the end: " << c.src;
    }
    // Code-page mode joins a letter and a following combining mark before encoding.
    const struct {
        uint32_t cp;
        WideText src;
        int32_t dstSize, result;
        const char *expected;
    } narrow[] = {
        {0, {0x20AC, 0x0141}, 8, 1, "\xAC\x41"},  // the low byte: no euro sign 0x80
        {0, TARN_W("abcd"), 3, 1, "ab"},         {0, TARN_W("abcd"), 1, 0, ""},       {0, {'a', 0x0308}, 4, 1, "a\x08"},
        {1252, {0x20AC, 0x4E00}, 8, 1, "\x80?"}, {1252, {'Y', 0x0308}, 8, 1, "\x9F"},  // not Latin-1, but in the page
        {850, {'A', 0x030A}, 8, 1, "\x8F"},      {1251, {'x', 0x0308}, 8, 1, "x?"},    // nothing to compose with
        {65000, TARN_W("abc"), 8, 1, ""},
    };
    for (const auto &c : narrow) {
        CodePageScope scope(c.cp != 0, c.cp);
        char dst[12];
        std::memset(dst, 'x', sizeof dst);
        EXPECT_EQ(UNC2ANSI(dst, c.dstSize, c.src.c_str(), int32_t(c.src.size())), c.result) << c.expected;
        EXPECT_STREQ(dst, c.expected) << "page " << c.cp;
        EXPECT_EQ(dst[std::strlen(c.expected) + 1], 'x') << c.expected;
    }
}

// Every ANSI byte goes there and back but for the look-alikes: 0x81-0x9F, 0x0F, 0x14, 0x15 and
// 'Ç', which lands on the OEM code kept for the euro. Unknown pages are refused; 1 is the default
// (ANSI 1252, OEM 858 where the system has it), and every setter answers the previous value.
TEST(CodePages, AnsiAndOemTablesAndPageSetters) {
    CodePageScope scope(false);
    const struct {
        bool toOem;
        std::string in, out;
    } cases[] = {
        {true, "\x93x\x94", "\"x\""},
        {false, "\x80", "\x80"},
        {true, "\xC7", "\x80"},
        {true, "\xE4\xF6\xFC\xC4\xD6\xDC\xDF", "\x84\x94\x81\x8E\x99\x9A\xE1"},
        {true, "\x95\x96\x97\x8A\x9F\x81", "\x07--SY_"},
        {true, "\xA7\xE9\xA0\xB5\xFF\xA4", "\xF5\x82\xFF\xE6\x98\xCF"},
        {false, "\xB3\xC4\xDA\xDB\xDC\xDF", "\xA6-+\xA6_\xAF"},
        {false, "\x0F\x14\x15\xD5\xF2\xFE", "\xA4\xB6\xA7i=\xA6"},
        {false, "\x9F\xE1\xEE", "\x83\xDF\xAF"},
    };
    for (const auto &c : cases) EXPECT_EQ(c.toOem ? ansi_to_oem(c.in) : oem_to_ansi(c.in), c.out) << c.in;
    for (int b = 1; b < 256; ++b) {
        const bool lookAlike = (b >= 0x81 && b <= 0x9F) || b == 0x0F || b == 0x14 || b == 0x15 || b == 0xC7;
        if (!lookAlike) EXPECT_EQ(oem_to_ansi(ansi_to_oem(std::string(1, char(b)))), std::string(1, char(b))) << b;
    }

    koSetOEMCP(437);
    for (uint32_t refused : {0u, 12345u, 2u}) EXPECT_EQ(koSetOEMCP(refused), 437u) << refused;
    const uint32_t systemOem = koGetOEMCP();
    koSetOEMCP(858);
    const bool has858 = koGetOEMCP() == 858;
    koSetOEMCP(1);
    EXPECT_EQ(koGetOEMCP(), has858 ? 858u : systemOem);
    koSetACP(850);
    EXPECT_EQ(koSetACP(12345), 850u);
    EXPECT_EQ(koSetACP(1), 850u);
    EXPECT_EQ(koGetACP(), 1252u);
    EXPECT_FALSE(koSetUseCodePages(1));
    koSetACP(65000);
    EXPECT_EQ(ansi_to_oem("Abc"), "???") << "byte by byte, every character fails alike";
}

// For comparisons, fixed mode folds the OEM and ANSI umlauts to their base letters; with code
// pages it is the system's upper case of the ANSI page. The OEM upper case keeps umlauts.
TEST(CodePages, UpperCaseForComparisonsAndOfTheOemPage) {
    const uint32_t was = koSetACP(2), system = koGetACP();  // the system's upper case is expected as in 1252
    const bool page1252 = (koSetACP(was), system == 1252);
    const struct {
        int32_t mode, in, out;  // mode 0 fixed, 1 code pages, 850 / 437 OEM
    } cases[] = {
        {0, 'z', 'Z'},     {0, '{', '{'},     {0, 0x84, 'A'},  {0, 0xE1, 'S'},    {0, -28, 'A'},
        {0, 0xE4, 0xE4},   {0, 0x82, 0x82},   {0, -124, -124},  // OEM ä sign-extended is not recognised
        {1, 'a', 'A'},     {1, 0xE4, 0xC4},   {1, 0xFF, 0x9F}, {1, 0x9A, 0x8A},   {1, 0xDF, 0xDF},
        {1, -28, -60},     {1, 0x81, 0x81},  // no OEM folding with code pages
        {850, 0x81, 0x9A}, {850, 0xE1, 0xE1}, {850, -28, -60}, {437, 0x82, 0x90},
    };
    for (const auto &c : cases) {
        if ((c.mode == 1 || c.mode == 437) && !page1252) continue;
        CodePageScope scope(c.mode == 1);
        if (c.mode > 1) koSetOEMCP(uint32_t(c.mode));
        EXPECT_EQ(c.mode > 1 ? koUpperCaseOEM(c.in) : koUpperCaseEx(c.in), c.out) << c.in << " in mode " << c.mode;
        if (c.mode == 1 && c.in != 0x81) EXPECT_EQ(koUpperCase(c.in), c.out) << c.in;
    }
}

// Runs of the table end and start (1200 after 2404), unknown codes say so; one static buffer.
TEST(WinErrorText, NamesFromTheTable) {
    const struct {
        int32_t code;
        const char *text;
    } cases[] = {
        {0, "SUCCESS"},
        {1, "[1] INVALID_FUNCTION"},
        {2404, "[2404] DEVICE_IN_USE"},
        {1200, "[1200] BAD_DEVICE"},
        {6008, "[6008] NOT_EXPORT_FORMAT"},
        {99999, "[99999] (unknown error code)"},
    };
    for (const auto &c : cases) EXPECT_STREQ(koGetWinErrorText(c.code), c.text);
    EXPECT_EQ(koGetWinErrorText(2), koGetWinErrorText(3));
}
