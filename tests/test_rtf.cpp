// RTF memos to plain text: keywords, destinations, "\*", "\bin", escapes, errors, the buffer's end.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tarngdi32.h"

namespace {

const std::string kGuard(32, '\x5A');

// koRtf2Ansi in a buffer of the text and its NUL, with guard bytes behind that must stay as they are.
std::string convert(const std::string &text) {
    std::string buffer = text + '\0' + kGuard;
    EXPECT_EQ(koRtf2Ansi(&buffer[0]), 1);
    EXPECT_EQ(buffer[text.size()], '\0') << "the buffer's last byte is its NUL";
    EXPECT_EQ(buffer.substr(text.size() + 1), kGuard) << "written past the buffer";
    return buffer.substr(0, std::strlen(buffer.c_str()));
}

// A document whose skipped first group leaves room for error texts; `body` goes on inside it.
std::string open_doc(const std::string &body) { return "{\\rtf1{\\*\\pad" + std::string(150, '.') + "}" + body; }
std::string doc(const std::string &body) { return open_doc(body) + "}"; }

void expect_all(const std::vector<std::pair<std::string, std::string>> &cases) {
    for (const auto &c : cases) EXPECT_EQ(convert(c.first), c.second) << "input: " << c.first;
}

TEST(Rtf2Ansi, MemoTextsAndOtherTexts) {
    expect_all({
        {"{\\rtf1\\ansi{\\fonttbl{\\f0 Arial;}}\\f0 Hallo\\par Welt}", "Hallo\r\nWelt"},
        {"{\\rtf1 a}b", "ab"},
        {"{\\rtf1 \xC4\xD6\xDC\xDF}", "\xC4\xD6\xDC\xDF"},
        {"{\\rtf1 x\\u8364?y}", "x?y"},  // "\u" is underline here: the fallback character shows
        // Error texts that do not fit the buffer are cut at its end.
        {"{\\rtf1 abc", "abcRTF-Err"},
        {"{\\rtf1 \\'zz}", "RTF-Error(4)"},
        {"{\\rtf", "RTF-E"},
    });
    for (const char *text : {"{\\RTF1 x}", " {\\rtf1 x}", "", "{\\rt", "{{\\rtf1 x}}"}) EXPECT_EQ(convert(text), text);
    EXPECT_EQ(koRtf2Ansi(nullptr), 1);
}

TEST(Rtf2Ansi, KeywordTable) {
    // Known properties end "\*" without skipping (their parameters do not matter), destinations
    // skip their group.
    for (const char *kw : {"b", "li", "sbknone", "pgnucrm", "qj", "margb", "landscape"})
        EXPECT_EQ(convert(doc(std::string("{\\*\\") + kw + " x}{\\" + kw + "7 y}z")), "xyz") << kw;
    for (const char *kw : {"author", "colortbl", "footerf", "ftnsepc", "info", "pict", "stylesheet", "xe"})
        EXPECT_EQ(convert(doc(std::string("{\\") + kw + " x{y}\\par z}{\\*\\" + kw + " q}w")), "w") << kw;
    // Comparison is exact and case-sensitive; "private1" holds a digit, which no keyword does.
    for (const char *kw : {"B", "Par", "pa", "fonttbls", "private1", "bi"}) {
        EXPECT_EQ(convert(doc(std::string("{\\") + kw + " x}y")), "xy") << kw;
        EXPECT_EQ(convert(doc(std::string("{\\*\\") + kw + " x}y")), "y") << kw;
    }
}

TEST(Rtf2Ansi, KeywordSyntaxAndTheSkipMark) {
    expect_all({
        {doc("a\\par{}b"), "a\r\nb"},
        {doc("a\\tab{}b"), "a b"},
        {doc("a\\ldblquote{}b\\rdblquote{}c"), "a\"b\"c"},
        {doc("a\\{\\}\\\\b"), "a{}\\b"},
        {doc("a\\par  b"), "a\r\n b"},  // one blank belongs to the keyword
        {doc("a\\{ b"), "a{ b"},        // a symbol keeps the blank behind it
        {doc("a\\par-b"), "a\r\nb"},    // a sign without digits is still read
        {doc("a\\par\r\nb"), "a\r\nb"},
        {doc("a\\li-720 b"), "ab"},
        {doc("a\r\nb\tc"), "ab c"},
        {doc("a\\foo123 b\\foo99999999999999999999 c"), "abc"},
        {doc("a\\\r\nb\\~c\\-d\\\xE4 e"), "abcd e"},
        {doc("\\*a"), "a"},
        {doc("{\\*\\b\\foo x}y"), "xy"},      // the known keyword took the mark
        {doc("{\\* a\\foo b}c"), " ac"},      // the mark waits through text
        {doc("{\\fonttbl\\*}\\foo x"), "x"},  // no mark inside a skipped destination
        {doc("{\\*}\\foo x"), ""},            // the mark is no part of a group's state
    });
}

TEST(Rtf2Ansi, BinaryRuns) {
    expect_all({
        {doc("\\bin3 {}\\x"), "{}\\x"},
        {doc("{\\pict\\bin3 }}{}y"), "y"},
        {doc("\\li2\\bin {}x"), "{}x"},  // without a parameter: the last one read
        {doc("\\bin0 }x"), "}x"},        // a count of 0 still takes one byte
        {doc("a\\bin3 \n\t\rb"), "a\r\n \rb"},
        {open_doc("\\bin50 abc"), "abcRTF-Error(3): "},
    });
}

TEST(Rtf2Ansi, HexadecimalEscapes) {
    expect_all({
        {doc("\\'E9\\'e9\\'ff"), "\xE9\xE9\xFF"},
        {doc("\\'1f\\'20\\'00x"), " x"},  // control codes are dropped, the blank is not
        {doc("\\'e\r\n9"), "\xE9"},
        {doc("{\\fonttbl\\'e9}{\\*\\foo\\'41}x"), "x"},
        {doc("\\'4{x}1"), "xA"},     // a group reads text, then takes the escape up again
        {doc("{\\'4}\\'41"), "D1"},  // a cut pair's digit is the first of the next
        {doc("ok\\'zz"), "okRTF-Error(4): z}"},
        {doc("\\' 41"), "RTF-Error(4): 41}"},
    });
}

// Error texts, deep nesting, and output that grows (line feeds in a binary run become two bytes
// each) all stay in the buffer, as do documents pieced together at random.
TEST(Rtf2Ansi, ErrorTextsAndDeepNestingStayInTheBuffer) {
    uint32_t blocks[2], bytes[2];  // tracked memory before and after
    GetGlobalUsage(&blocks[0], &bytes[0]);
    const std::string lines = "{\\rtf1\\bin1000 " + std::string(1000, '\n') + "}";
    std::string crlf;
    while (crlf.size() < lines.size()) crlf += "\r\n";
    expect_all({
        {open_doc("abc"), "abcRTF-Error(3): "},
        {open_doc("\\'e"), "RTF-Error(3): "},
        {doc("a}b"), "abRTF-Error(1): "},
        {doc("}}x\ty\nz"), "RTF-Error(1): x y\r\nz}"},
        {open_doc("\\"), "RTF-Error(7): "},
        {open_doc("\\li-"), "RTF-Error(7): "},
        {open_doc("x\\li"), "xRTF-Error(3): "},
        {doc("}}" + std::string(150, 't')), "RTF-Error(1): " + std::string(100, 't')},
        {"{\\rtf1 " + std::string(5000, '{') + "x" + std::string(5000, '}') + "}", "x"},
        {"{\\rtf1 a" + std::string(100000, '{') + "x", "aRTF-Error(2): " + std::string(100, '{')},
        {lines, crlf.substr(0, lines.size())},
    });
    const char *pieces[] = {"{", "}", "}",  "\\par ", "\\*", "\\foo", "\\bin", "\\bin2 ",    "7",      "\\'", "e9",
                            "4", "g", "\\", "\\li-",  "\n",  "\t",    "text ", "\\fonttbl ", "\\pict", "\\{", "-"};
    std::mt19937 random(20240315);
    for (int n = 0; n < 3000; ++n) {
        std::string text = "{\\rtf1";
        for (int i = int(random() % 24); i > 0; --i) text += pieces[random() % (sizeof pieces / sizeof *pieces)];
        ASSERT_LE(convert(text).size(), text.size()) << text;
    }
    GetGlobalUsage(&blocks[1], &bytes[1]);
    EXPECT_TRUE(blocks[0] == blocks[1] && bytes[0] == bytes[1]) << "tracked memory left behind";
}

}  // namespace
