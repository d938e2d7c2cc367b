// Formula texts: result lines, labels, remarks, the term grammar, functions in gon, the rounded pi,
// the integer power, which failures reach the error state, and the line helpers.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tarngdi32.h"

namespace {

struct Formula {
    std::string text;
    double value;
};

std::string repeated(const char *piece, int times) {
    std::string s;
    for (int i = 0; i < times; ++i) s += piece;
    return s;
}

}  // namespace

// Every case evaluates without reaching the error state: computing failures count as 0.
TEST(FormulaText, ValuesOfResultLinesTermsAndFunctions) {
    const Formula cases[] = {
        {"Wand: 2,5 * 3 =", 7.5},
        {"2+3*4", 0},                  // no "=": not a result line
        {"Summe = 5 : 3", 0},          // a ":" after the "=" takes the result back
        {"Raum 1: Wand 2: 4*2 =", 8},  // the label runs to the last ":"
        {"4*2 = \"Wand: links\"", 8},  // a ":" in a remark is not looked at
        {"\"offen 3*3 =", 0},          // an open remark runs to the line end
        {"4 = 2 =", 42},               // every "=" is left out of the term
        {"\"a\"1\"b\"+\"c\"2=", 3},    // remarks inside the term drop out
        {"1=\n\n# 5=\n2,5=\r\n\"x=\"\n3*3 =", 12.5},
        {"2+3*4=", 14},
        {"2-3-4=", -5},
        {"2^3^2=", 64},
        {"-2^2=", 4},
        {"{1+2)*[2}=", 6},
        {"a1_2=", 12},
        {"sin(100)=", 1},
        {"qdrt(3)=", 9},
        {"pi*2=", 6.28},
        {"2^-2,5=", 0.125},
        {"2^20=", 1048576},
        {"(-2)^3=", -8},
        {"sin(10000000000000000)=", -0.006},  // no whole turns taken off: 2 pi / 400 times the angle
        {"1/0+5=", 5},
        {"2^21=", 0},
        {"0^-1=", 0},
        {"SIN(100)=", 0},
        {"sqrt(-4)=", 0},
        {"(-2)**2=", 0},
        {"x=\n2=", 2},
    };
    for (const auto &c : cases) {
        EXPECT_DOUBLE_EQ(koMultilineEval(c.text.c_str()), c.value) << c.text;
        EXPECT_EQ(koMultilineGetErrorStat(), 0) << c.text;
    }
}

TEST(FormulaText, FirstSyntaxErrorIsRecordedWithItsLineAndText) {
    const struct {
        std::string text;
        int32_t line;
        const char *error;
        double value = 0;
    } cases[] = {
        {"3*=", 1, "E_TERM_VALUE_EXPECTED"},
        {"2$3=", 1, "E_TERM_ILLEGAL_OPCODE"},
        {repeated("(", 201) + "1" + repeated(")", 201) + "=", 1, "E_TERM_RIGHT_PARENTHESIS_EXPECTED"},
        {repeated("(", 200) + "1" + repeated(")", 200) + "=", 0, "", 1},
        {repeated("-(", 100000) + "1=", 1, "E_TERM_RIGHT_PARENTHESIS_EXPECTED"},
        {"1+2)=", 0, "", 3},  // a closing bracket ends the term
        {"Wand:=", 1, ""},    // an empty term, unlike a blank one
        {"1=\n3* \n1/0=\nx=\n2+=\n(=", 5, "E_TERM_VALUE_EXPECTED", 1},
        {"1=", 0, "", 1} /* the state is cleared */,
    };
    for (const auto &c : cases) {
        EXPECT_DOUBLE_EQ(koMultilineEval(c.text.c_str()), c.value) << c.text.substr(0, 20);
        EXPECT_EQ(koMultilineGetErrorStat(), c.line) << c.text.substr(0, 20);
        EXPECT_STREQ(koMultilineGetLastError(), c.error) << c.text.substr(0, 20);
    }
    EXPECT_DOUBLE_EQ(koMultilineEvalLine("2=\n3*=", 0), 2);
    EXPECT_EQ(koMultilineGetErrorStat(), 2) << "koMultilineEvalLine looks at the whole text";
}

// Each line is rounded before the sum, commercially, to the decimals of a "#N" first line (3). The
// line helpers count, find and copy lines.
TEST(FormulaText, DecimalsRoundingAndTheLineHelpers) {
    for (const char *t : {"", "#3", " #2", "x#2"}) EXPECT_EQ(koMultilineEvalGetDec(t), 3) << t;
    EXPECT_EQ(koMultilineEvalGetDec("#2\n1="), 2);
    const Formula rounded[] = {
        {"#2\n1,005=", 1.01},
        {"1,0005=", 1.001},
        {"#2\n1/3=\n1/3=\n1/3=", 0.99},
        {repeated("9", 400) + "=\n1=", 1},  // too long for a double: overflows, and the rounding makes it 0
    };
    for (const auto &c : rounded) EXPECT_DOUBLE_EQ(koMultilineEval(c.text.c_str()), c.value) << c.text.substr(0, 20);
    const char *text = "#2\nWand: 2,125*2 =\nohne Ergebnis\n1/3 =";
    const struct {
        int32_t line;
        double value;
    } lines[] = {{0, 0}, {1, 4.25}, {2, 0}, {3, 0.33}, {4, 0}, {-1, 0}};
    for (const auto &l : lines) EXPECT_DOUBLE_EQ(koMultilineEvalLine(text, l.line), l.value) << l.line;
    EXPECT_DOUBLE_EQ(koMultilineEval(nullptr) + koMultilineEvalLine(nullptr, 0), 0);
    const Formula counts[] = {{"", 0}, {"a\nb", 2}, {"\n\n", 2}, {"a\r\nb\r\n", 2}};
    for (const auto &c : counts) EXPECT_EQ(koMultilineGetNumLines(c.text.c_str()), c.value) << c.text;
    const char *three = "ab\r\n\ncd\n";
    const struct {
        int32_t line;
        const char *start;
    } starts[] = {{1, three + 4}, {2, three + 5}, {3, nullptr}, {-1, nullptr}};
    for (const auto &s : starts) EXPECT_EQ(koMultilineGetLine(three, s.line), s.start) << s.line;
    const struct {
        const char *text;
        int32_t line, size;
        BOOL terminate;
        const char *expected;
    } copies[] = {
        {"ab\r\ncd", 0, 5, 0, "ab   "},  // a field is filled with blanks and not terminated
        {"abcdef", 0, 4, 1, "abc"},        {"abcdef", 0, 4, 0, "abcd"},
        {"\b\bab", 0, 8, 1, "ab"},         {"abcd\b\bx", 0, 4, 1, "ax"},  // what did not fit was not counted either
        {"abcdef\b\bxy", 0, 4, 0, "abxy"}, {"a", 0, 0, 1, ""},            // no room: nothing written
    };
    for (const auto &c : copies) {
        char buffer[16];
        std::memset(buffer, 'X', sizeof buffer);
        EXPECT_EQ(koMultilineCopyLine(c.text, c.line, buffer, c.size, c.terminate), 1) << c.text;
        const std::string shown(c.expected, std::strlen(c.expected) + (c.terminate && c.size > 0 ? 1 : 0));
        EXPECT_EQ(std::string(buffer, sizeof buffer), shown + std::string(sizeof buffer - shown.size(), 'X')) << c.text;
    }
    char buffer[4];
    EXPECT_EQ(koMultilineCopyLine("a\n", 1, buffer, 4, 1), 0) << "no such line";
}
