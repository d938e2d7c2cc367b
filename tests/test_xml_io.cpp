// XML and GAEB 2000 reading and writing: what the readers make of declarations, encodings,
// references and malformed input, the exact text of each writer, and trees that go through a
// writer and its reader and come back with their names, types and values.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "harness.h"
#include "platform/test_env.h"
#include "tarngdi32.h"

namespace {

std::string folder() {
    static const std::string dir = test_env::temp_folder("xml_io");
    return dir;
}

std::string path(const std::string &name) { return test_env::join(folder(), name); }

// The examples beside this file, written for these tests.
std::string data_file(const std::string &name) {
    std::string dir = __FILE__;
    dir.erase(dir.find_last_of("/\\") + 1);
    return dir + "data/" + name;
}

using harness::write_file;

// Owns a tree whatever reader made it (a tree without scratch file included).
struct Tree {
    XML_Node *root;
    explicit Tree(XML_Node *r) : root(r) {}
    ~Tree() { koXML_ReleaseTreeEx(root); }
    Tree(const Tree &) = delete;
};

std::string value_of(XML_Node *node) {
    std::string buf(65536, '\0');
    if (!koXML_GetValue(node, &buf[0], int32_t(buf.size()))) return "<unreadable>";
    buf.resize(std::char_traits<char>::length(buf.c_str()));
    return buf;
}

std::string visible(const std::string &s) {
    std::string out;
    for (char c : s) out += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
    return out;
}

// name, "@type" unless an element, "=value" unless empty, then "{children;...}".
std::string dump(XML_Node *node) {
    if (!node) return "null";
    std::string s = koXML_GetName(node);
    if (koXML_GetType(node) != 0) s += "@" + std::to_string(koXML_GetType(node));
    const std::string v = value_of(node);
    if (!v.empty()) s += "=" + visible(v);
    if (XML_Node *c = koXML_GetFirstChild(node)) {
        s += "{";
        for (; c; c = koXML_GetNext(c)) s += dump(c) + (koXML_GetNext(c) ? ";" : "");
        s += "}";
    }
    return s;
}

// A tree with a scratch file of its own, for values over 24 bytes.
XML_Node *new_tree(const char *name) {
    HANDLE *cell = static_cast<HANDLE *>(AllocGlobal(sizeof(HANDLE)));
    *cell = X_CreatTmp();
    return koXML_CreateTree(name, cell);
}

std::string parse_ansi(const std::string &text) {
    Tree t(koXML_CreateTreeExAnsiString(text.c_str(), int32_t(text.size())));
    return dump(t.root);
}

// The expectations are bytes of Windows-1252.
class XmlIo : public ::testing::Test {
protected:
    void SetUp() override { acp_ = koSetACP(1252); }
    void TearDown() override { koSetACP(acp_); }
    uint32_t acp_ = 0;
};

const char kDecl[] = "<?xml version=\"1.0\"?>";

TEST_F(XmlIo, FileStartAndEncodingDecideHowBytesAreRead) {
    const std::string bom = "\xEF\xBB\xBF";
    const struct { const char *what; std::string bytes; int32_t flag; const char *expect; } cases[] = {
        {"no declaration", "<a>x</a>", 0, "null"},
        {"declaration in upper case", "<?XML version=\"1.0\"?><a>x</a>", 1, "null"},
        {"shorter than the declaration", "<?xml", 0, "null"},
        {"mark without declaration", bom + "<a>x</a>", 0, "null"},
        {"flag 0 reads ANSI", std::string(kDecl) + "<a>\xC3\xA4</a>", 0, "a=\xC3\xA4"},
        {"mark makes UTF-8", bom + kDecl + "<a>\xC3\xA4</a>", 0, "a=\xE4"},
        {"flag 1 without encoding is UTF-8", std::string(kDecl) + "<a>\xC3\xA4</a>", 1, "a=\xE4"},
        {"utf-8 in lower case", "<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\xC3\xA4</a>", 1, "a=\xE4"},
        {"ISO-8859-1", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE4</a>", 1, "a=\xE4"},
        {"windows-1252 any case", "<?xml version=\"1.0\" encoding=\"Windows-1252\"?><a>\xC3\xA4</a>", 1, "a=\xC3\xA4"},
        {"latin1", "<?xml version=\"1.0\" encoding=\"latin1\"?><a>\xC3\xA4</a>", 1, "a=\xC3\xA4"},
        {"single quotes read ANSI", "<?xml version=\"1.0\" encoding='UTF-8'?><a>\xC3\xA4</a>", 1, "a=\xC3\xA4"},
        {"unknown name reads ANSI", "<?xml version=\"1.0\" encoding=\"UTF-16\"?><a>\xC3\xA4</a>", 1, "a=\xC3\xA4"},
        {"Latin name beats the mark", bom + "<?xml version=\"1.0\" encoding=\"CP1252\"?><a>\xC3\xA4</a>", 1, "a=\xC3\xA4"},
    };
    for (const auto &c : cases) {
        const std::string file = path("decl.xml");
        write_file(file, c.bytes);
        Tree t(koXML_CreateTreeFromFileEx(file.c_str(), nullptr, c.flag));
        EXPECT_EQ(dump(t.root), c.expect) << c.what;
    }
    EXPECT_EQ(parse_ansi("<a>x</a>"), "a=x") << "a string needs no declaration";
    EXPECT_EQ(koXML_CreateTreeEx(path("missing.xml").c_str()), nullptr);
}

TEST_F(XmlIo, Utf8SequencesDecodeByTheirFirstByte) {
    const struct { const char *what, *bytes, *expect; } cases[] = {
        {"two bytes", "\xC3\x9F", "\xDF"},
        {"three bytes, euro", "\xE2\x82\xAC", "\x80"},
        {"not in the code page", "\xE2\x86\x92", "?"},
        {"four bytes ignore the first byte's bits", "\xF2\x80\x81\xA4", "d"},
        {"beyond 16 bits", "\xF0\x9F\x98\x80", "?"},
        {"beyond 16 bits keeps the low 16 (U+10041 as U+0041)", "\xF0\x90\x81\x81", "A"},
        {"stray continuation byte", "\xA4", "\x80"},
        {"0xF8 and above", "\xF8", "\x80"},
    };
    const std::string file = path("utf8.xml");
    for (const auto &c : cases) {
        write_file(file, std::string("\xEF\xBB\xBF") + kDecl + "<a>x" + c.bytes + "y</a>");
        EXPECT_EQ(dump(Tree(koXML_CreateTreeFromFile(file.c_str(), nullptr)).root), std::string("a=x") + c.expect + "y")
            << c.what;
    }
    // U+10000 keeps 0 of its 16 low bits: a zero character, which ends the input.
    write_file(file, std::string("\xEF\xBB\xBF") + kDecl + "<a><b>1</b>\xF0\x90\x80\x80<c>2</c></a>");
    EXPECT_EQ(dump(Tree(koXML_CreateTreeFromFile(file.c_str(), nullptr)).root), "a{b=1}");
}

TEST_F(XmlIo, EntitiesAndReferencesBecomeAnsiBytes) {
    const struct { const char *text, *expect; } cases[] = {
        {"&nbsp;", " "}, {"&euro;", "?"}, {"&AMP;", "?"}, {"&#228;", "\xE4"}, {"&#xE4;", "\xE4"},
        {"&#8364;", "\xAC"},  // the low byte of the code point
        {"&auml;&Auml;&ouml;&Ouml;&uuml;&Uuml;&szlig;", "\xE4\xC4\xF6\xD6\xFC\xDC\xDF"},
        {"&quot;&amp;&lt;&gt;", "\"&<>"}, {"a&#32;b", "a b"}, {"x&amp", "x&"}, {"tab\tdropped", "tabdropped"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(parse_ansi(std::string("<a>") + c.text + "</a>"), std::string("a=") + c.expect) << c.text;
        EXPECT_EQ(parse_ansi(std::string("<a v=\"") + c.text + "\"/>"), std::string("a{v@1=") + c.expect + "}")
            << c.text;
    }
}

TEST_F(XmlIo, WhiteSpaceFlagDecidesWhatTextKeeps) {
    const std::string file = path("ws.xml");
    write_file(file, std::string(kDecl) + "\r\n<a v=\"  x y\r\nz\">\r\n  two words\r\n  <b>\tc d </b>\r\n</a>\r\n");
    Tree plain(koXML_CreateTreeFromFile(file.c_str(), nullptr));
    EXPECT_EQ(dump(plain.root), "a=twowords{v@1=x yz;b=cd}");
    Tree kept(koXML_CreateTreeExKompatible(file.c_str()));
    EXPECT_EQ(dump(kept.root), "a=\\r\\n  two words\\r\\n  {v@1=  x y\\r\\nz;b=c d }");
}

TEST_F(XmlIo, TagsAttributesAndStructure) {
    const struct { const char *text, *expect; } cases[] = {
        {"<?xml version=\"1.0\"?><a/>", "a"}, {"<!DOCTYPE a><!-- note --><a><?pi x?><b/><!-- c --></a>", "a{b}"},
        {"</b>", "b"}, {"<a x='1' y=\"2\"/>", "a"}, {"<a x= \"1\" y=\"2\"/>", "a"},
        {"<a x=\"1\" y='2' z=\"3\"><b/></a>", "a{x@1=1;b}"}, {"<a x =\"1\"/>", "a{x @1=1}"},
        {"<a><b>one</b>two<c/>three</a>", "a=three{b=one;c}"}, {"<a><b>1</b></></a>", "a{b=1}"},
        {"<a/><b/>", "a"}, {"<a><b></c></a>", "a{b}"}, {"<a><b></b ></a>", "a{b}"}, {"<a>< b/></a>", "a{a}"},
        {"text<a/>", "Root"}, {"<a>open", "a"},
        {"<a>1 > 0</a>", "a=1 > 0"},
    };
    for (const auto &c : cases) EXPECT_EQ(parse_ansi(c.text), c.expect) << c.text;
}

TEST_F(XmlIo, StringReadersTakeLengthAndWideText) {
    const char text[] = "<a>xy</a><b/>";
    EXPECT_EQ(dump(Tree(koXML_CreateTreeExAnsiString(text, 0)).root), "a=xy");
    EXPECT_EQ(dump(Tree(koXML_CreateTreeExAnsiString(text, -1)).root), "a=xy") << "a negative length as 0";
    EXPECT_EQ(dump(Tree(koXML_CreateTreeExAnsiString(text, 5)).root), "a") << "a text cut by the end is dropped";
    const TARN_WCHAR wide[] = {'<', 'a', ' ', 'v', '=', '"', 0xE4, '"', '>', 0x20AC, 0x2192, '<', '/', 'a', '>', 0};
    EXPECT_EQ(dump(Tree(koXML_CreateTreeExUnicodeString(wide)).root), "a=\x80?{v@1=\xE4}");
    EXPECT_EQ(koXML_CreateTreeExAnsiString(nullptr, 0), nullptr);
    koXML_LockAtoms(0);  // the root made before the text was looked at holds the atoms
}

TEST_F(XmlIo, ProgressIsReportedWhileAStatusWindowIsSet) {
    harness::FakeUi ui;
    const std::string doc = "<a>" + std::string(4993, 'x') + "</a>", file = path("progress.p83");
    parse_ansi(doc);
    EXPECT_TRUE(ui.progressTexts.empty()) << "no status window, no reports";
    HWND window = reinterpret_cast<HWND>(intptr_t(1));
    EXPECT_EQ(koXML_SetStatusWindow(window), window);
    const struct { const char *bracketForm; std::vector<std::string> texts; } cases[] = {
        {nullptr, {"1024 von 5000 [ 20.5 %]", "2048 von 5000 [ 41.0 %]", "3072 von 5000 [ 61.4 %]",
                   "4096 von 5000 [ 81.9 %]"}},
        {"#begin[GAEB]\r\n[K]H[end]\r\n#end[GAEB]\r\n", {"14 von 37 [ 37.8 %]", "25 von 37 [ 67.6 %]"}},
        // The continuation line of a field is reported as well.
        {"#begin[GAEB]\r\n[K]H\r\n  I[end]\r\n#end[GAEB]\r\n",
         {"14 von 42 [ 33.3 %]", "20 von 42 [ 47.6 %]", "30 von 42 [ 71.4 %]"}},
    };
    for (const auto &c : cases) {
        ui.progressTexts.clear();
        if (c.bracketForm) {
            write_file(file, c.bracketForm);
            Tree t(koXML_CreateTreeExFromGAEB2K(file.c_str()));
        } else {
            parse_ansi(doc);
        }
        EXPECT_EQ(ui.progressTexts, c.texts) << (c.bracketForm ? c.bracketForm : "XML");
    }
    koXML_SetStatusWindow(nullptr);
}

// ---- writers ----

std::string saved(int32_t(TARN_CALL *save)(XML_Node *, const char *), XML_Node *node) {
    const std::string file = path("out.txt");
    EXPECT_EQ(save(node, file.c_str()), 1);
    return harness::read_file(file);
}

XML_Node *add(XML_Node *parent, const char *name, const char *value, uint32_t type = 0) {
    XML_Node *n = koXML_AddChildLast(parent, name);
    koXML_SetType(n, type);
    koXML_SetValue(n, value);
    return n;
}

TEST_F(XmlIo, WritersProduceTheirExactText) {
    Tree empty(koXML_CreateTree(nullptr, nullptr));
    EXPECT_EQ(saved(koXML_SaveTreeToFile, empty.root), "<?xml version=\"1.0\" ?>\r\n<Root />\r\n");

    Tree t(koXML_CreateTree("doc", nullptr));
    add(t.root, "id", "\xE4 1", 1);
    XML_Node *a = add(t.root, "a", "two words");
    add(t.root, "blank", " \r\n ");
    add(add(t.root, "b", ""), "c", "1/2");
    XML_Node *attr = add(t.root, "lonely", "x", 1);
    EXPECT_EQ(saved(koXML_SaveTreeToFile, t.root),
              "<?xml version=\"1.0\" ?>\r\n"
              "<doc id=\"&#228;&#32;1\" lonely=\"x\">\r\n"
              "<a>\r\ntwo&#32;words\r\n</a>\r\n"
              "<blank>\r\n&#32;&#13;&#10;&#32;\r\n</blank>\r\n"
              "<b>\r\n<c>\r\n1&#47;2\r\n</c>\r\n\r\n</b>\r\n"
              "\r\n</doc>\r\n");
    EXPECT_EQ(saved(koXML_SaveTreeToFileKompatible, t.root),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n"
              "<doc id=\"\xC3\xA4 1\" lonely=\"x\">\r\n"
              " <a>two words</a>\r\n"
              " <blank />\r\n"
              " <b>\r\n  <c>1&#47;2</c>\r\n </b>\r\n"
              "</doc>\r\n");
    EXPECT_EQ(saved(koXML_SaveTreeToFile, a), "<?xml version=\"1.0\" ?>\r\n<a>\r\ntwo&#32;words\r\n</a>\r\n");
    EXPECT_EQ(saved(koXML_SaveTreeToFile, attr), "<?xml version=\"1.0\" ?>\r\n");
    add(attr, "inner", "y");
    saved(koXML_SaveTreeToFile, t.root);
    EXPECT_EQ(koXML_GetType(attr), 0u) << "a node with children is written as an element, and stays one";

    // Null names are written empty.
    Tree n(koXML_CreateTree("R", nullptr));
    XML_Node *c = add(n.root, "c", "");
    EXPECT_EQ(koXML_SetName(c, nullptr), nullptr);
    EXPECT_EQ(koXML_SetName(add(c, "k", "v", 1), nullptr), nullptr);
    EXPECT_EQ(saved(koXML_SaveTreeToFile, n.root), "<?xml version=\"1.0\" ?>\r\n<R>\r\n< =\"v\" />\r\n\r\n</R>\r\n");
    EXPECT_EQ(saved(koXML_SaveTreeToFileKompatible, n.root),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<R>\r\n < =\"v\" />\r\n</R>\r\n");
    EXPECT_EQ(saved(koXML_SaveTreeToGAEB2K, n.root), "#begin[R]\r\n #begin[]\r\n  []v[end]\r\n #end[]\r\n#end[R]\r\n");
}

TEST_F(XmlIo, EscapingOfSingleBytes) {
    const struct { char c; const char *plain, *compatible; } cases[] = {
        {'A', "A", "A"},           {'7', "7", "7"},          {' ', "&#32;", " "},
        {'/', "&#47;", "&#47;"},   {'\\', "\\", "\\"},       {'"', "&#34;", "&#34;"},
        {'\'', "&#39;", "'"},      {'&', "&#38;", "&#38;"},  {'<', "&#60;", "&#60;"},
        {'\n', "&#10;", "&#10;"},  {'\r', "&#13;", "&#13;"}, {'\t', "&#9;", ""},
        {'~', "&#126;", "~"},      {'\xE4', "&#228;", "\xC3\xA4"}, {'\x80', "&#128;", "\xE2\x82\xAC"},
        {'@', "@", "@"}, {'!', "!", "!"}, {'?', "?", "?"}, {'=', "=", "="}, {'.', ".", "."}, {':', ":", ":"},
        {';', ";", ";"}, {'|', "|", "|"}, {'+', "+", "+"}, {'-', "-", "-"}, {'*', "*", "*"}, {'(', "(", "("},
        {')', ")", ")"}, {'{', "{", "{"}, {'}', "}", "}"}, {'[', "[", "["}, {']', "]", "]"}, {'_', "_", "_"},
        {'#', "#", "#"}, {',', ",", ","},
    };
    for (const auto &c : cases) {
        char out[8];
        EXPECT_STREQ(koAnsicode2XMLstr(out, c.c), c.plain) << int(c.c);
        EXPECT_STREQ(koAnsicode2XMLstrEx(out, c.c, 0), c.plain) << int(c.c);
        EXPECT_STREQ(koAnsicode2XMLstrEx(out, c.c, 1), c.compatible) << int(c.c);
    }
}

TEST_F(XmlIo, FailedWritesLeaveNoFile) {
    Tree t(new_tree("doc"));
    add(t.root, "a", std::string(20000, 'x').c_str());
    const std::string file = path("failed.xml");
    using Save = int32_t(TARN_CALL *)(XML_Node *, const char *);
    for (Save save : {Save(koXML_SaveTreeToFile), Save(koXML_SaveTreeToFileKompatible), Save(koXML_SaveTreeToGAEB2K)}) {
        {
            harness::Fault diskFull("WriteFile", 1, harness::kDiskFull);
            EXPECT_EQ(save(t.root, file.c_str()), 0);
        }
        EXPECT_FALSE(harness::file_exists(file));
    }
    EXPECT_EQ(koXML_SaveTreeToFile(t.root, path("no/such/folder/x.xml").c_str()), 0);
}

// ---- the bracket form ----

TEST_F(XmlIo, BracketFormReadsBlocksAndFields) {
    const struct { const char *what, *text, *expect; } cases[] = {
        {"one field", "#begin[GAEB]\r\n[Kurztext]Hallo[end]\r\n#end[GAEB]\r\n", "GAEB{Kurztext@1=Hallo}"},
        {"not the bracket form", "#begin[Gaeb]\r\n[Kurztext]Hallo[end]\r\n#end[Gaeb]\r\n", "Root"},
        {"nested and indented, LF only", "#begin[GAEB]\n  #begin[Info]\n    [Version]1.2[end]\n  #end[Info]\n#end[GAEB]\n",
         "GAEB{Info{Version@1=1.2}}"},
        {"continuation lines lose the indent", "#begin[GAEB]\r\n   [LT]eins\r\n   zwei\r\n\r\n     drei[end]\r\n#end[GAEB]",
         "GAEB{LT@1=eins\\r\\nzwei\\r\\n\\r\\n  drei}"},
        {"empty field and other lines", "#begin[GAEB]\r\nremark\r\n[Leer][end]\r\n#end[GAEB]", "GAEB{Leer@1}"},
        {"wrong end stops the read", "#begin[GAEB]\r\n#begin[A]\r\n[x]1[end]\r\n#end[B]\r\n[y]2[end]\r\n#end[GAEB]",
         "GAEB{A{x@1=1}}"},
        {"field without end", "#begin[GAEB]\r\n[x]1\r\n#end[GAEB]\r\n", "GAEB{x@1}"},
        {"RTF becomes text", "#begin[GAEB]\r\n[LT]{\\rtf1\\ansi{\\fonttbl{\\f0 Arial;}}\\f0 Fliese\\par 30x30}[end]\r\n#end[GAEB]",
         "GAEB{LT@1=Fliese\\r\\n30x30}"},
    };
    const std::string file = path("case.p83");
    for (const auto &c : cases) {
        write_file(file, c.text);
        EXPECT_EQ(dump(Tree(koXML_CreateTreeExFromGAEB2K(file.c_str())).root), c.expect) << c.what;
    }
    EXPECT_EQ(koXML_CreateTreeExFromGAEB2K(path("missing.p83").c_str()), nullptr);
}

TEST_F(XmlIo, BracketFormWritesIndentedLines) {
    Tree t(koXML_CreateTree("GAEB", nullptr));
    XML_Node *pos = add(t.root, "Position", "");
    add(pos, "OZ", "01.0010", 1);
    add(pos, "LT", "eins\r\n zwei\r\n\r\ndrei", 1);
    add(pos, "Leer", "", 1);
    EXPECT_EQ(saved(koXML_SaveTreeToGAEB2K, t.root),
              "#begin[GAEB]\r\n"
              " #begin[Position]\r\n"
              "  [OZ]01.0010[end]\r\n"
              "  [LT]eins\r\n  zwei\r\n  \r\n  drei[end]\r\n"
              "  [Leer][end]\r\n"
              " #end[Position]\r\n"
              "#end[GAEB]\r\n");
    EXPECT_EQ(saved(koXML_SaveTreeToGAEB2K, koXML_GetFirstChild(pos)), "  [OZ]01.0010[end]\r\n")
        << "indented from the tree's top";

    // Lines are cut at 256 characters; the reader gives the cut back as a line break.
    Tree w(new_tree("GAEB"));
    add(w.root, "LT", std::string(300, 'a').c_str(), 1);
    const std::string text = saved(koXML_SaveTreeToGAEB2K, w.root);
    EXPECT_EQ(text, "#begin[GAEB]\r\n [LT]" + std::string(251, 'a') + "\r\n " + std::string(49, 'a') +
                        "[end]\r\n#end[GAEB]\r\n");
    Tree back(koXML_CreateTreeExFromGAEB2K(path("out.txt").c_str()));
    EXPECT_EQ(value_of(koXML_GetFirstChild(back.root)), std::string(251, 'a') + "\r\n" + std::string(49, 'a'));
}

TEST_F(XmlIo, GaebExamplesRead) {
    Tree mixed(koXML_CreateTreeExFromGAEB2K(data_file("lv_gemischt.p83").c_str()));
    ASSERT_NE(mixed.root, nullptr);
    EXPECT_STREQ(koXML_GetName(mixed.root), "GAEB");
    XML_Node *lv = koXML_GetChildByNameEx(mixed.root, "Vergabe/LV");
    ASSERT_NE(lv, nullptr);
    std::vector<std::string> positions;
    for (XML_Node *p = koXML_GetChildByName(lv, "POSITION"); p; p = koXML_GetChildByNameEx(p, ">"))
        positions.push_back(value_of(koXML_GetChildByName(p, "OZ")) + " " + value_of(koXML_GetChildByName(p, "KurzText")));
    EXPECT_EQ(positions, (std::vector<std::string>{"01.0010 Baustelle einrichten", "01.0020 Bauzaun stellen",
                                                   "02.0010 Oberboden abtragen"}));
    EXPECT_EQ(dump(koXML_GetChildByNameEx(lv, "POSITION/>/LANGTEXT")),
              "LANGTEXT@1=Bauzaun aus Stahlgitterelementen, H\xF6he 2,00 m,\\r\\n"
              "auf Fu\xDF" "platten, f\xFCr die Dauer der Bauzeit.");
    Tree rtf(koXML_CreateTreeExFromGAEB2K(data_file("lv_rtf.p83").c_str()));
    EXPECT_EQ(dump(koXML_GetChildByNameEx(rtf.root, "Vergabe/LV/Position/Langtext")),
              "Langtext@1=Wandfliesen 20 x 25 cm, wei\xDF, verlegen.\\r\\nFugenbreite 2 mm.");
}

// ---- round trips ----

struct Form {
    const char *name;
    int32_t(TARN_CALL *save)(XML_Node *, const char *);
    XML_Node *(TARN_CALL *read)(const char *);
};

// A thousand positions make documents far longer than any buffer of the readers.
TEST_F(XmlIo, TreesComeBackThroughEachWriterAndItsReader) {
    const std::string longText = "Langtext mit \xE4\xF6\xFC\xDF und \"Zeichen\" <&> / \\ " + std::string(150, 'z');
    const Form forms[] = {
        {"plain", koXML_SaveTreeToFile, koXML_CreateTreeEx},
        {"compatible", koXML_SaveTreeToFileKompatible, koXML_CreateTreeExKompatible},
        {"bracket", koXML_SaveTreeToGAEB2K, koXML_CreateTreeExFromGAEB2K},
    };
    for (const Form &form : forms) {
        Tree t(new_tree("GAEB"));
        XML_Node *lv = add(t.root, "LV", "");
        add(lv, "Bezeichnung", "Neubau \xC4rztehaus", 1);
        for (int i = 1; i <= 1000; ++i) {
            XML_Node *p = add(lv, "Position", "");
            add(p, "OZ", ("01." + std::to_string(1000 + i)).c_str(), 1);
            add(p, "Menge", "12,500", 1);
            add(p, "Leer", "", 1);
            add(p, "Langtext", (longText.substr(0, size_t(i % 200)) + std::to_string(i)).c_str(), 1);
        }
        const std::string before = dump(t.root);
        const std::string file = path(std::string("round.") + form.name);
        ASSERT_EQ(form.save(t.root, file.c_str()), 1) << form.name;
        Tree back(form.read(file.c_str()));
        EXPECT_EQ(dump(back.root), before) << form.name;
    }
}

// ---- deep trees, odd names, failing scratch files ----

TEST_F(XmlIo, BracketReaderTakesDeepNesting) {
    constexpr int kDepth = 100000;
    std::string opened = "#begin[GAEB]\n";
    for (int i = 0; i < kDepth; ++i) opened += "#begin[a]\n";
    const std::string file = path("deep.p83");
    write_file(file, opened);
    {
        Tree t(koXML_CreateTreeExFromGAEB2K(file.c_str()));
        ASSERT_NE(t.root, nullptr);
        EXPECT_STREQ(koXML_GetName(t.root), "GAEB");
        int depth = 0;
        for (XML_Node *n = koXML_GetFirstChild(t.root); n; n = koXML_GetFirstChild(n)) ++depth;
        EXPECT_EQ(depth, kDepth) << "the blocks read before the text ended stay";
    }
    std::string closed = opened + "[F]x[end]\n";
    for (int i = 0; i < kDepth; ++i) closed += "#end[a]\n";
    closed += "#begin[b]\n#end[b]\n#end[GAEB]\n";
    write_file(file, closed);
    Tree t(koXML_CreateTreeExFromGAEB2K(file.c_str()));
    ASSERT_NE(t.root, nullptr);
    XML_Node *n = koXML_GetFirstChild(t.root);
    int depth = 0;
    for (; n && std::string(koXML_GetName(n)) == "a"; n = koXML_GetFirstChild(n)) {
        ++depth;
        ASSERT_EQ(koXML_GetNext(n) != nullptr, depth == 1) << depth;
    }
    EXPECT_EQ(depth, kDepth);
    EXPECT_EQ(dump(n), "F@1=x");
    EXPECT_EQ(dump(koXML_GetNext(koXML_GetFirstChild(t.root))), "b") << "the reading goes on behind the deepest block";
}

struct Calls {
    size_t count = 0;
    XML_Node *first = nullptr, *last = nullptr, *stopAt = nullptr;
    static int32_t TARN_CALL record(XML_Node *node, intptr_t user) {
        auto *c = reinterpret_cast<Calls *>(user);
        if (c->count++ == 0) c->first = node;
        c->last = node;
        return node == c->stopAt ? 0 : 1;
    }
};

TEST_F(XmlIo, DeepTreeIsSavedAndWalked) {
    constexpr int kDepth = 300000;
    std::string doc;
    for (int i = 0; i < kDepth; ++i) doc += "<a>";
    Tree t(koXML_CreateTreeExAnsiString(doc.c_str(), int32_t(doc.size())));
    ASSERT_NE(t.root, nullptr);
    XML_Node *deepest = t.root;
    while (XML_Node *below = koXML_GetFirstChild(deepest)) deepest = below;
    ASSERT_EQ(koXML_GetDeept(deepest), kDepth - 1);

    std::string expect = "<?xml version=\"1.0\" ?>\r\n";
    for (int i = 1; i < kDepth; ++i) expect += "<a>\r\n";
    expect += "<a />\r\n";
    for (int i = 1; i < kDepth; ++i) expect += "\r\n</a>\r\n";
    EXPECT_TRUE(saved(koXML_SaveTreeToFile, t.root) == expect) << "plain form of the deep tree";

    // Down: first, after the children, last. Up: first, before going up, last, and the last calls
    // come back down. A callback that answers 0 ends the walk.
    const struct { XML_Node *from; uint32_t flags; XML_Node *stopAt; int32_t result; size_t count; } walks[] = {
        {t.root, 0x27, nullptr, 1, size_t(3) * kDepth},
        {deepest, 0x39, nullptr, 1, size_t(3) * kDepth},
        {t.root, 0x27, deepest, 0, size_t(kDepth)},
    };
    for (const auto &w : walks) {
        Calls c;
        c.stopAt = w.stopAt;
        EXPECT_EQ(koXML_DoReku(w.from, w.flags, Calls::record, reinterpret_cast<intptr_t>(&c)), w.result) << w.flags;
        EXPECT_EQ(c.count, w.count) << w.flags;
        EXPECT_EQ(c.first, w.from);
        EXPECT_EQ(c.last, w.stopAt ? w.stopAt : w.from);
    }
}

TEST_F(XmlIo, EveryAttributeHasItsOwnRoom) {
    Tree t(new_tree("R"));
    const std::string x(100000, 'x');
    for (const char *name : {"a", "b", "c"}) add(t.root, name, x.c_str(), 1);
    add(t.root, "d", std::string(140000, 'y').c_str(), 1);
    // 131,072 bytes of room, filled while 7 of them are left: 131,066 bytes.
    const std::string tag = "<R a=\"" + x + "\" b=\"" + x + "\" c=\"" + x + "\" d=\"" + std::string(131066, 'y') + "\" />\r\n";
    EXPECT_TRUE(saved(koXML_SaveTreeToFile, t.root) == "<?xml version=\"1.0\" ?>\r\n" + tag);
    EXPECT_TRUE(saved(koXML_SaveTreeToFileKompatible, t.root) ==
                "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n" + tag);
}

// Each value is its element's number, then filler: a value read back is its own, or empty where
// its write failed, never another element's.
TEST_F(XmlIo, FailedScratchWritesWhileReadingKeepValuesApart) {
    constexpr int kCount = 600;
    const auto text = [](int i) { return "value " + std::to_string(i) + " " + std::string(5000, char('a' + i % 26)); };
    std::string doc = "<list>";
    for (int i = 0; i < kCount; ++i) doc += "<p n=\"" + text(i) + "\">" + text(i) + "</p>";
    doc += "</list>";
    for (int nth = 0; nth <= 4; ++nth) {
        std::optional<harness::Fault> diskFull;
        if (nth > 0) diskFull.emplace("WriteFile", nth, harness::kDiskFull);
        Tree t(koXML_CreateTreeExAnsiString(doc.c_str(), int32_t(doc.size())));
        diskFull.reset();
        ASSERT_NE(t.root, nullptr);
        int i = 0, lost = 0;
        for (XML_Node *p = koXML_GetFirstChild(t.root); p; p = koXML_GetNext(p), ++i) {
            for (XML_Node *v : {p, koXML_GetFirstChild(p)}) {
                ASSERT_NE(v, nullptr);
                const std::string got = value_of(v);
                if (got != text(i)) {
                    ++lost;
                    EXPECT_TRUE(got.empty() || got == "<unreadable>")
                        << "fault " << nth << ", element " << i << ": " << got.substr(0, 12);
                }
            }
        }
        EXPECT_EQ(i, kCount);
        if (nth <= 1) {
            EXPECT_EQ(lost > 0, nth == 1) << "only a failing write loses values";
        }
    }
}

}  // namespace
