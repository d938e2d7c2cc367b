// Base64 over 16-bit text: padding, buffer sizes and the lenient decoder's stopping rules.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tarngdi32.h"

namespace {

using WText = std::basic_string<TARN_WCHAR>;

WText wide(const std::string &ascii) {
    WText out;
    for (char c : ascii) out += TARN_WCHAR(static_cast<unsigned char>(c));
    return out;
}

std::string narrow(const WText &text) {
    std::string out;
    for (TARN_WCHAR c : text) out += char(c);
    return out;
}

constexpr TARN_WCHAR kGuard = 0x2A2A;

TEST(Base64, EncodesGroupsWithPadding) {
    const struct { std::string bytes; const char *text; } cases[] = {
        {"M", "TQ=="},
        {"Ma", "TWE="},
        {"Man", "TWFu"},
        {"Many", "TWFueQ=="},
        {"\xFF\xFE\xFD", "//79"},
        {std::string("\0\0\0\0", 4), "AAAAAA=="},
    };
    for (const auto &c : cases) {
        WText out(16, kGuard);
        const int32_t n = BytesToBase64_W(c.bytes.data(), int32_t(c.bytes.size()), &out[0], 16);
        EXPECT_EQ(n, int32_t(std::string(c.text).size())) << c.text;
        EXPECT_EQ(narrow(out.substr(0, size_t(n))), c.text);
        EXPECT_EQ(out[size_t(n)], kGuard) << "no terminating zero is written";
        EXPECT_EQ(BytesToBase64_W(c.bytes.data(), int32_t(c.bytes.size()), nullptr, 0), n) << c.text;
    }
}

TEST(Base64, EncoderCountsAndBufferLimits) {
    const char data[] = "Man Man";
    EXPECT_EQ(BytesToBase64_W(data, 0, nullptr, 0), 0);
    EXPECT_EQ(BytesToBase64_W(data, -3, nullptr, 0), 0);
    EXPECT_EQ(BytesToBase64_W(data, 4, nullptr, 0), 8);

    WText out(8, kGuard);
    EXPECT_EQ(BytesToBase64_W(data, 3, &out[0], 4), 4) << "an exact fit";
    EXPECT_EQ(BytesToBase64_W(data, 3, &out[0], 3), -1);
    out.assign(8, kGuard);
    EXPECT_EQ(BytesToBase64_W(data, 6, &out[0], 5), -1);
    EXPECT_EQ(narrow(out.substr(0, 5)), "TWFu*") << "the groups before the overflow stay written";
}

TEST(Base64, DecoderSkipsWhiteSpaceAndStopsQuietly) {
    const struct { const char *text; std::string bytes; } cases[] = {
        {"TWFu", "Man"},
        {"TW Fu", "Man"},
        {"TW\r\nFu\r\n", "Man"},
        {" \tTWFu", "Man"},
        {"TQ==TQ==", "MM"},          // padding ends the group, not the text
        {"TQ", "M"},
        {"TWE", "Ma"},
        {"TW*u", "M"},               // a digit after a missing third character does not count
        {"TW=u", "M"},
        {"TQ*=TQ==", "MM"},          // unknown inside a group acts as padding
        {"TWFu*TWFu", "Man"},        // unknown between groups ends the text
        {"T", ""},
        {"=TWFu", ""},
        {"", ""},
    };
    for (const auto &c : cases) {
        const WText text = wide(c.text);
        EXPECT_EQ(Base64ToBytes_W(text.c_str(), nullptr, 0), int32_t(c.bytes.size())) << c.text;
        std::string out(8, '#');
        const int32_t n = Base64ToBytes_W(text.c_str(), &out[0], 8);
        EXPECT_EQ(n, int32_t(c.bytes.size())) << c.text;
        EXPECT_EQ(out.substr(0, c.bytes.size()), c.bytes) << c.text;
        EXPECT_EQ(out.find_first_not_of('#', c.bytes.size()), std::string::npos) << c.text;
    }
}

TEST(Base64, DecoderBufferTooSmall) {
    const WText text = wide("TWFuTQ==");
    std::string out(6, '#');
    EXPECT_EQ(Base64ToBytes_W(text.c_str(), &out[0], 2), -1);
    EXPECT_EQ(Base64ToBytes_W(text.c_str(), &out[0], 3), -1);
    EXPECT_EQ(out.substr(0, 4), "Man#") << "the group that fitted stays written";
    EXPECT_EQ(Base64ToBytes_W(text.c_str(), &out[0], 4), 4);
}

TEST(Base64, AlphabetAndIndices) {
    EXPECT_EQ(Base64Code_W(0), TARN_WCHAR('A'));
    EXPECT_EQ(Base64Code_W(26), TARN_WCHAR('a'));
    EXPECT_EQ(Base64Code_W(63), TARN_WCHAR('/'));
    EXPECT_EQ(Base64Code_W(64), TARN_WCHAR('='));
    EXPECT_EQ(Base64Code_W(65), TARN_WCHAR(0));
    EXPECT_EQ(Base64Code_W(0xFFFFFFFFu), TARN_WCHAR(0));

    const struct { TARN_WCHAR c; int32_t index; } cases[] = {
        {'A', 0}, {'Z', 25}, {'a', 26}, {'z', 51}, {'0', 52}, {'9', 61}, {'+', 62}, {'/', 63},
        {'=', 64}, {' ', 65}, {0, 65}, {'-', 65}, {'_', 65},
        {TARN_WCHAR(0x0141), 65},  // the low byte is "A": only the whole unit counts
        {TARN_WCHAR(0xFF3A), 65},
    };
    for (const auto &c : cases) EXPECT_EQ(Base64Index_W(c.c), c.index) << int(c.c);
}

TEST(Base64, IndexCursorSkipsBlanksAndStopsOnTheZero) {
    const WText text = wide(" \r\n\tT*");
    const TARN_WCHAR *at = text.c_str();
    EXPECT_EQ(Base64IndexP_W(&at), 19);
    EXPECT_EQ(at, text.c_str() + 5);
    EXPECT_EQ(Base64IndexP_W(&at), 65);
    EXPECT_EQ(at, text.c_str() + 6) << "an unknown character is read past";
    EXPECT_EQ(Base64IndexP_W(&at), 65);
    EXPECT_EQ(at, text.c_str() + 6) << "the end is not read past";
}

TEST(Base64, RoundTripsEveryLength) {
    std::mt19937 random(42);
    for (int length = 1; length < 70; ++length) {
        std::string bytes(size_t(length), '\0');
        for (char &b : bytes) b = char(random());
        WText text(size_t(length + 3) / 3 * 4 + 1, 0);
        const int32_t n = BytesToBase64_W(bytes.data(), length, &text[0], int32_t(text.size()));
        ASSERT_EQ(n, (length + 2) / 3 * 4);
        text[size_t(n)] = 0;
        std::string back(size_t(length), '\0');
        ASSERT_EQ(Base64ToBytes_W(text.c_str(), &back[0], uint32_t(length)), length);
        EXPECT_EQ(back, bytes) << length;
    }
}

}  // namespace
