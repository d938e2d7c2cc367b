// Base64 over 16-bit text: padding, buffer sizes and the lenient decoder's stopping rules.
#include <gtest/gtest.h>

#include <cstring>
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

TEST(Base64, EncoderPadsGroupsAndRefusesShortBuffers) {
    const struct {
        std::string bytes;
        int32_t count, room, result;
        const char *written;
    } cases[] = {
        {"M", 1, 16, 4, "TQ==*"},
        {"Ma", 2, 16, 4, "TWE=*"},
        {"Man", 3, 16, 4, "TWFu*"},  // no zero written
        {"\xFF\xFE\xFD", 3, 16, 4, "//79*"},
        {std::string(4, '\0'), 4, 16, 8, "AAAAAA==*"},
        {"Man", 0, 16, 0, "*"},
        {"Man", 3, 4, 4, "TWFu"},  // an exact fit
        {"Man", 3, 3, -1, ""},
        {"Man Ma", 6, 5, -1, "TWFu*"},  // the groups before the overflow stay written
    };
    for (const auto &c : cases) {
        WText out(16, '*');  // guards
        EXPECT_EQ(BytesToBase64_W(c.bytes.data(), c.count, &out[0], c.room), c.result) << c.written;
        EXPECT_EQ(out.compare(0, std::strlen(c.written), wide(c.written)), 0) << c.written;
        if (c.result >= 0) EXPECT_EQ(BytesToBase64_W(c.bytes.data(), c.count, nullptr, 0), c.result) << "measured";
    }
}

TEST(Base64, DecoderSkipsWhiteSpaceAndStopsQuietly) {
    const struct {
        const char *text;
        int32_t room, result;
        std::string bytes;
    } cases[] = {
        {" \tTW\r\nFu\r\n", 8, 3, "Man"},
        {"TQ==TQ==", 8, 2, "MM"},  // padding ends the group, not the text
        {"TQ", 8, 1, "M"},
        {"TWE", 8, 2, "Ma"},
        {"T", 8, 0, ""},
        {"=TWFu", 8, 0, ""},
        {"TW*u", 8, 1, "M"},         // a digit after a missing third character does not count
        {"TQ*=TQ==", 8, 2, "MM"},    // unknown inside a group acts as padding
        {"TWFu*TWFu", 8, 3, "Man"},  // unknown between groups ends the text
        {"TWFuTQ==", 4, 4, "ManM"},
        {"TWFuTQ==", 3, -1, "Man"},  // the group that fitted stays
    };
    for (const auto &c : cases) {
        const WText text = wide(c.text);
        std::string out(8, '#');
        EXPECT_EQ(Base64ToBytes_W(text.c_str(), &out[0], c.room), c.result) << c.text << " into " << c.room;
        EXPECT_EQ(out.substr(0, c.bytes.size()), c.bytes) << c.text;
        EXPECT_EQ(out.find_first_not_of('#', c.bytes.size()), std::string::npos) << c.text;
        if (c.room == 8) EXPECT_EQ(Base64ToBytes_W(text.c_str(), nullptr, 0), c.result) << "measured: " << c.text;
    }
}

// Every code reads back as its index; the cursor form skips blanks, reads past an unknown
// character, and stops on the zero.
TEST(Base64, IndicesCodesAndTheCursor) {
    const struct {
        TARN_WCHAR c;
        int32_t index;
    } cases[] = {
        {'A', 0},  {'Z', 25}, {'a', 26}, {'z', 51},
        {'0', 52}, {'9', 61}, {'+', 62}, {'/', 63},
        {'=', 64}, {' ', 65}, {'-', 65}, {TARN_WCHAR(0x0141), 65} /* only the whole unit counts */,
    };
    for (const auto &c : cases) EXPECT_EQ(Base64Index_W(c.c), c.index) << int(c.c);
    for (int32_t i = 0; i <= 65; ++i) EXPECT_EQ(Base64Index_W(Base64Code_W(uint32_t(i))), i) << "code " << i;
    const WText text = wide(" \r\n\tT*");
    const TARN_WCHAR *at = text.c_str();
    for (const int32_t index : {19, 65, 65}) EXPECT_EQ(Base64IndexP_W(&at), index);
    EXPECT_EQ(at, text.c_str() + 6);
}

TEST(Base64, RoundTripsEveryLength) {
    std::mt19937 random(42);
    for (int length = 1; length < 70; ++length) {
        std::string bytes(size_t(length), '\0'), back = bytes;
        for (char &b : bytes) b = char(random());
        WText text(size_t(length + 2) / 3 * 4 + 1, 0);  // an exact fit, and the zero behind it
        ASSERT_EQ(BytesToBase64_W(bytes.data(), length, &text[0], int32_t(text.size()) - 1), (length + 2) / 3 * 4);
        ASSERT_EQ(Base64ToBytes_W(text.c_str(), &back[0], uint32_t(length)), length);
        EXPECT_EQ(back, bytes) << length;
    }
}

}  // namespace
