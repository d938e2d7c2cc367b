// XML and GAEB 2000 reading and writing: what the readers make of declarations, encodings, references
// and malformed input, the exact text of each writer, and trees that come back through both.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness.h"

namespace {

std::string path(const std::string &name) {
    static const std::string dir = test_env::temp_folder("xml_io");
    return test_env::join(dir, name);
}

// Owns a tree whatever reader made it (a tree without scratch file included).
struct Tree {
    XML_Node *root;
    ~Tree() { koXML_ReleaseTreeEx(root); }
};

std::string value_of(XML_Node *node) {
    static char buffer[65536];
    const char *got = koXML_GetValue(node, buffer, int32_t(sizeof buffer));
    return got ? got : "<unreadable>";
}

// name, "@type" unless an element, "=value" unless empty (line ends as \r \n), "{children;...}".
std::string dump(XML_Node *node) {
    if (!node) return "null";
    std::string s = koXML_GetName(node);
    if (koXML_GetType(node) != 0) s += "@" + std::to_string(koXML_GetType(node));
    const std::string v = value_of(node);
    if (!v.empty()) s += "=";
    for (char c : v) s += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
    for (XML_Node *c = koXML_GetFirstChild(node); c; c = koXML_GetNext(c))
        s += (koXML_GetPrev(c) ? ";" : "{") + dump(c) + (koXML_GetNext(c) ? "" : "}");
    return s;
}

std::string read_dump(XML_Node *(TARN_CALL *read)(const char *), const std::string &file) {
    return dump(Tree{read(file.c_str())}.root);
}

// A tree with a scratch file of its own, for values over 24 bytes.
XML_Node *new_tree(const char *name) {
    HANDLE *cell = static_cast<HANDLE *>(AllocGlobal(sizeof(HANDLE)));
    *cell = X_CreatTmp();
    return koXML_CreateTree(name, cell);
}

// The expectations are bytes of Windows-1252.
class XmlIo : public ::testing::Test {
protected:
    void SetUp() override { acp_ = koSetACP(1252); }
    void TearDown() override { koSetACP(acp_); }
    uint32_t acp_ = 0;
};

const std::string kDecl = "<?xml version=\"1.0\"?>", kBom = "\xEF\xBB\xBF";

using Reader = XML_Node *(TARN_CALL *)(const char *);
const Reader plain = koXML_CreateTreeEx, compatible = koXML_CreateTreeExKompatible,
             bracket = koXML_CreateTreeExFromGAEB2K;

// What each file reader makes of a file's start, its encoding, white space, and bracket blocks and fields.
TEST_F(XmlIo, FileReadersDecodeAndStructureTheirInput) {
    const auto utf8 = [](const char *bytes) { return kBom + kDecl + "<a>x" + bytes + "y</a>"; };
    const auto named = [](std::string name) { return "<?xml version=\"1.0\" encoding=" + name + "?><a>\xC3\xA4</a>"; };
    const std::string ws = kDecl + "\r\n<a v=\"  x y\r\nz\">\r\n  two words\r\n  <b>\tc d </b>\r\n</a>\r\n";
    const struct {
        const char *what, *expect;
        Reader read;
        std::string bytes;
    } cases[] = {
        {"declaration in upper case", "null", compatible, "<?XML version=\"1.0\"?><a>x</a>"},
        {"shorter than the declaration", "null", plain, "<?xml"},
        {"flag 0 reads ANSI", "a=\xC3\xA4", plain, kDecl + "<a>\xC3\xA4</a>"},
        {"mark makes UTF-8", "a=\xE4", plain, kBom + kDecl + "<a>\xC3\xA4</a>"},
        {"flag 1 without encoding is UTF-8", "a=\xE4", compatible, kDecl + "<a>\xC3\xA4</a>"},
        {"windows-1252 any case", "a=\xC3\xA4", compatible, named("\"Windows-1252\"")},
        {"single quotes read ANSI", "a=\xC3\xA4", compatible, named("'UTF-8'")},
        {"UTF-8 three bytes, euro", "a=x\x80y", plain, utf8("\xE2\x82\xAC")},
        {"UTF-8 four bytes ignore the first byte's bits", "a=xdy", plain, utf8("\xF2\x80\x81\xA4")},
        {"UTF-8 beyond 16 bits keeps the low 16 (U+10041 as U+0041)", "a=xAy", plain, utf8("\xF0\x90\x81\x81")},
        {"UTF-8 stray continuation byte or 0xF8 and above", "a=x\x80y", plain, utf8("\xA4")},
        // U+10000 keeps 0 of its 16 low bits: a zero character, which ends the input.
        {"UTF-8 U+10000", "a{b=1}", plain, kBom + kDecl + "<a><b>1</b>\xF0\x90\x80\x80<c>2</c></a>"},
        {"flag 0 drops blanks and line ends", "a=twowords{v@1=x yz;b=cd}", plain, ws},
        {"flag 1 keeps them", "a=\\r\\n  two words\\r\\n  {v@1=  x y\\r\\nz;b=c d }", compatible, ws},
        {"not the bracket form", "Root", bracket, "#begin[Gaeb]\r\n[Kurztext]Hallo[end]\r\n#end[Gaeb]\r\n"},
        {"nested and indented, LF only", "GAEB{Info{Version@1=1.2}}", bracket,
         "#begin[GAEB]\n  #begin[Info]\n    [Version]1.2[end]\n  #end[Info]\n#end[GAEB]\n"},
        {"continuation lines lose the indent", "GAEB{LT@1=eins\\r\\nzwei\\r\\n\\r\\n  drei}", bracket,
         "#begin[GAEB]\r\n   [LT]eins\r\n   zwei\r\n\r\n     drei[end]\r\n#end[GAEB]"},
        {"empty field and other lines", "GAEB{Leer@1}", bracket, "#begin[GAEB]\r\nremark\r\n[Leer][end]\r\n#end[GAEB]"},
        {"wrong end stops the read", "GAEB{A{x@1=1}}", bracket,
         "#begin[GAEB]\r\n#begin[A]\r\n[x]1[end]\r\n#end[B]\r\n[y]2[end]\r\n#end[GAEB]"},
        {"RTF becomes text", "GAEB{LT@1=Fliese\\r\\n30x30}", bracket,
         "#begin[GAEB]\r\n[LT]{\\rtf1\\ansi{\\fonttbl{\\f0 Arial;}}\\f0 Fliese\\par 30x30}[end]\r\n#end[GAEB]"},
    };
    const std::string file = path("read.txt");
    for (const auto &c : cases) {
        harness::write_file(file, c.bytes);
        EXPECT_EQ(read_dump(c.read, file), c.expect) << c.what;
    }
    for (Reader read : {plain, bracket}) EXPECT_EQ(read(path("missing").c_str()), nullptr);
}

// Length 0 reads up to the zero, a negative one as 0; 16-bit text goes through the code page.
TEST_F(XmlIo, StringReadersTakeTagsReferencesAndStructure) {
    const struct {
        const char *text, *expect;
        int32_t length = 0;
    } cases[] = {
        {"<!DOCTYPE a><!-- note --><a><?pi x?><b/><!-- c --></a>", "a{b}"},
        {"</b>", "b"},
        {"<a x=\"1\" y='2' z=\"3\"><b/></a>", "a{x@1=1;b}"},
        {"<a x =\"1\"/>", "a{x @1=1}"},
        {"<a><b>one</b>two<c/>three</a>", "a=three{b=one;c}"},
        {"<a><b>1</b></></a>", "a{b=1}"},
        {"<a/><b/>", "a"},
        {"<a><b></c></a>", "a{b}"},
        {"<a>< b/></a>", "a{a}"},
        {"text<a/>", "Root"},
        {"<a>1 > 0</a>", "a=1 > 0"},
        {"<a>&nbsp;</a>", "a= "},
        {"<a>&euro;</a>", "a=?"},
        {"<a>&#xE4;</a>", "a=\xE4"},
        {"<a>&#8364;</a>", "a=\xAC"},  // the low byte of the code point
        {"<a v=\"&quot;&amp;&lt;&gt;\"/>", "a{v@1=\"&<>}"},
        {"<a>x&amp</a>", "a=x&"},
        {"<a>tab\tdropped</a>", "a=tabdropped"},
        {"<a>xy</a><b/>", "a=xy", -1},
        {"<a>xy</a><b/>", "a", 5} /* a text cut by the end is dropped */,
    };
    for (const auto &c : cases)
        EXPECT_EQ(dump(Tree{koXML_CreateTreeExAnsiString(c.text, c.length)}.root), c.expect) << c.text;
    const TARN_WCHAR wide[] = {'<', 'a', ' ', 'v', '=', '"', 0xE4, '"', '>', 0x20AC, 0x2192, '<', '/', 'a', '>', 0};
    EXPECT_EQ(dump(Tree{koXML_CreateTreeExUnicodeString(wide)}.root), "a=\x80?{v@1=\xE4}");
    EXPECT_EQ(koXML_CreateTreeExAnsiString(nullptr, 0), nullptr);
    koXML_LockAtoms(0);  // the root made before the text was looked at holds the atoms
}

// A UTF-8 file far larger than the reader's 64 KiB of raw bytes, its sequences of one to four
// bytes (and stray continuation bytes) falling on every offset, reads as the same document in
// Windows-1252 read from a string: with and without progress windows of 1024 bytes.
TEST_F(XmlIo, LargeUtf8FilesReadAsTheirAnsiText) {
    const struct {
        const char *utf8, *ansi;
    } pieces[] = {{"a", "a"}, {"\xC3\xA4", "\xE4"}, {"\xE2\x82\xAC", "\x80"}, {"\xF0\x90\x81\x81", "A"},
                  {"\xA4", "\x80"}, {"bcdefgh ", "bcdefgh "}, {"\xC3\x9F", "\xDF"}};
    std::string utf8 = kDecl + "<doc>", ansi = "<doc>";
    for (int n = 0; utf8.size() < 200000; ++n) {
        std::string u = "<p n=\"" + std::to_string(n) + "\">", a = u;
        for (int k = 0; k < 1 + n % 61; ++k) {
            const auto &piece = pieces[size_t(n * 7 + k * k) % std::size(pieces)];
            u += piece.utf8;
            a += piece.ansi;
        }
        utf8 += u + "</p>\r\n";
        ansi += a + "</p>\r\n";
    }
    utf8 += "</doc>";
    ansi += "</doc>";
    const std::string file = path("large_utf8.xml");
    harness::FakeUi ui;
    // Blanks after the declaration move every sequence across the block boundaries.
    for (size_t shift = 0; shift < 4; ++shift) {
        harness::write_file(file, kDecl + std::string(shift, ' ') + utf8.substr(kDecl.size()));
        for (HWND window : {HWND(nullptr), reinterpret_cast<HWND>(intptr_t(1))}) {
            koXML_SetStatusWindow(window);
            const std::string expect = dump(Tree{koXML_CreateTreeExAnsiString(ansi.c_str(), int32_t(ansi.size()))}.root);
            EXPECT_EQ(read_dump(compatible, file), expect) << (window ? "with" : "without") << " progress, shift " << shift;
        }
    }
    koXML_SetStatusWindow(nullptr);
    EXPECT_FALSE(ui.progressTexts.empty());
}

// Blanks before a text stay with it wherever the 1024-byte progress windows cut the text or its
// blanks, whether or not the text needs decoding.
TEST_F(XmlIo, BlanksBeforeATextStayWithItAcrossWindows) {
    harness::FakeUi ui;
    for (HWND window : {HWND(nullptr), reinterpret_cast<HWND>(intptr_t(1))}) {
        koXML_SetStatusWindow(window);
        for (size_t blanks = 1014; blanks < 1026; ++blanks)
            for (const char *text : {"x y", "x &amp; y"}) {
                const std::string doc = "<a>" + std::string(blanks, ' ') + text + "</a>";
                Tree t{koXML_CreateTreeExAnsiString(doc.c_str(), int32_t(doc.size()))};
                EXPECT_EQ(value_of(t.root), std::string(blanks, ' ') + (text[2] == '&' ? "x & y" : "x y"))
                    << blanks << " blanks, " << (window ? "with" : "without") << " progress";
            }
    }
    koXML_SetStatusWindow(nullptr);
}

TEST_F(XmlIo, ProgressIsReportedWhileAStatusWindowIsSet) {
    harness::FakeUi ui;
    const std::string doc = "<a>" + std::string(4993, 'x') + "</a>", file = path("progress.p83");
    Tree{koXML_CreateTreeExAnsiString(doc.c_str(), int32_t(doc.size()))};
    EXPECT_TRUE(ui.progressTexts.empty()) << "no status window, no reports";
    HWND window = reinterpret_cast<HWND>(intptr_t(1));
    EXPECT_EQ(koXML_SetStatusWindow(window), window);
    Tree{koXML_CreateTreeExAnsiString(doc.c_str(), int32_t(doc.size()))};
    // The continuation line of a field is reported as well.
    harness::write_file(file, "#begin[GAEB]\r\n[K]H\r\n  I[end]\r\n#end[GAEB]\r\n");
    read_dump(bracket, file);
    EXPECT_EQ(ui.progressTexts,
              (std::vector<std::string>{"1024 von 5000 [ 20.5 %]", "2048 von 5000 [ 41.0 %]", "3072 von 5000 [ 61.4 %]",
                                        "4096 von 5000 [ 81.9 %]", "14 von 42 [ 33.3 %]", "20 von 42 [ 47.6 %]",
                                        "30 von 42 [ 71.4 %]"}));
    koXML_SetStatusWindow(nullptr);
}

using Save = int32_t(TARN_CALL *)(XML_Node *, const char *);

std::string saved(Save save, XML_Node *node) {
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
    Tree empty{koXML_CreateTree(nullptr, nullptr)};
    EXPECT_EQ(saved(koXML_SaveTreeToFile, empty.root), "<?xml version=\"1.0\" ?>\r\n<Root />\r\n");

    Tree t{koXML_CreateTree("doc", nullptr)};
    add(t.root, "id", "\xE4 1", 1);
    add(t.root, "a", "two words");
    add(t.root, "blank", " \r\n ");
    add(add(t.root, "b", ""), "c", "1/2");
    XML_Node *attr = add(t.root, "lonely", "x", 1);
    EXPECT_EQ(
        saved(koXML_SaveTreeToFile, t.root),
        "<?xml version=\"1.0\" ?>\r\n<doc id=\"&#228;&#32;1\" lonely=\"x\">\r\n<a>\r\ntwo&#32;words\r\n</a>\r\n"
        "<blank>\r\n&#32;&#13;&#10;&#32;\r\n</blank>\r\n<b>\r\n<c>\r\n1&#47;2\r\n</c>\r\n\r\n</b>\r\n\r\n</doc>\r\n");
    EXPECT_EQ(
        saved(koXML_SaveTreeToFileKompatible, t.root),
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<doc id=\"\xC3\xA4 1\" lonely=\"x\">\r\n <a>two words</a>\r\n"
        " <blank />\r\n <b>\r\n  <c>1&#47;2</c>\r\n </b>\r\n</doc>\r\n");
    EXPECT_EQ(saved(koXML_SaveTreeToFile, attr), "<?xml version=\"1.0\" ?>\r\n");
    add(attr, "inner", "y");
    saved(koXML_SaveTreeToFile, t.root);
    EXPECT_EQ(koXML_GetType(attr), 0u) << "a node with children is written as an element, and stays one";

    // Null names are written empty.
    Tree n{koXML_CreateTree("R", nullptr)};
    XML_Node *c = add(n.root, "c", "");
    EXPECT_EQ(koXML_SetName(c, nullptr), nullptr);
    EXPECT_EQ(koXML_SetName(add(c, "k", "v", 1), nullptr), nullptr);
    EXPECT_EQ(saved(koXML_SaveTreeToGAEB2K, n.root), "#begin[R]\r\n #begin[]\r\n  []v[end]\r\n #end[]\r\n#end[R]\r\n");

    Tree g{koXML_CreateTree("GAEB", nullptr)};
    XML_Node *pos = add(g.root, "Position", "");
    add(pos, "OZ", "01.0010", 1);
    add(pos, "LT", "eins\r\n zwei\r\n\r\ndrei", 1);
    add(pos, "Leer", "", 1);
    EXPECT_EQ(saved(koXML_SaveTreeToGAEB2K, g.root),
              "#begin[GAEB]\r\n #begin[Position]\r\n  [OZ]01.0010[end]\r\n  [LT]eins\r\n  zwei\r\n  \r\n  drei[end]\r\n"
              "  [Leer][end]\r\n #end[Position]\r\n#end[GAEB]\r\n");
    EXPECT_EQ(saved(koXML_SaveTreeToGAEB2K, koXML_GetFirstChild(pos)), "  [OZ]01.0010[end]\r\n")
        << "indented from the tree's top";

    // Lines are cut at 256 characters; the reader gives the cut back as a line break.
    Tree w{new_tree("GAEB")};
    add(w.root, "LT", std::string(300, 'a').c_str(), 1);
    EXPECT_EQ(saved(koXML_SaveTreeToGAEB2K, w.root), "#begin[GAEB]\r\n [LT]" + std::string(251, 'a') + "\r\n " +
                                                         std::string(49, 'a') + "[end]\r\n#end[GAEB]\r\n");
    EXPECT_EQ(read_dump(bracket, path("out.txt")),
              "GAEB{LT@1=" + std::string(251, 'a') + "\\r\\n" + std::string(49, 'a') + "}");
}

// Letters, blanks and "/" as the writers' texts above show them; here the rest of the rules.
TEST_F(XmlIo, EscapingOfSingleBytes) {
    const struct {
        char c;
        const char *plain, *compatible;
    } cases[] = {{'!', "!", "!"}, {'\t', "&#9;", ""}, {'\x80', "&#128;", "\xE2\x82\xAC"}};
    char mode0[8], mode1[8];
    for (const auto &c : cases)
        EXPECT_EQ(std::string(koAnsicode2XMLstr(mode0, c.c)) + "|" + koAnsicode2XMLstrEx(mode1, c.c, 1),
                  std::string(c.plain) + "|" + c.compatible)
            << int(c.c);
}

// A disk that fills up mid-save, or a file that cannot take the new one's place, leaves the file that
// was there byte for byte, or no file where there was none. A save that works reads back the same; a
// thousand positions make files far longer than any buffer of the readers or the cached file.
TEST_F(XmlIo, FailedSavesKeepTheFileThatWasThere) {
    const std::string longText = "Langtext mit \xE4\xF6\xFC\xDF und \"Zeichen\" <&> / \\ " + std::string(150, 'z');
    Tree t{new_tree("GAEB")};
    XML_Node *lv = add(t.root, "LV", "");
    add(lv, "Bezeichnung", "Neubau \xC4rztehaus", 1);
    for (int i = 1; i <= 1000; ++i) {
        XML_Node *p = add(lv, "Position", "");
        add(p, "OZ", ("01." + std::to_string(1000 + i)).c_str(), 1);
        add(p, "Leer", "", 1);
        add(p, "Langtext", (longText.substr(0, size_t(i % 200)) + std::to_string(i)).c_str(), 1);
    }
    const std::string folder = test_env::temp_folder("xml_io_failed"), file = test_env::join(folder, "doc.xml");
    const struct {
        const char *call;
        int32_t nth;
    } failures[] = {{"WriteFile", 1}, {"WriteFile", 3}, {"MoveFile", 1}, {"CreateFile", 1}};
    const struct {
        const char *name;
        Save save;
        Reader read;
    } forms[] = {
        {"plain", koXML_SaveTreeToFile, plain},
        {"compatible", koXML_SaveTreeToFileKompatible, compatible},
        {"bracket", koXML_SaveTreeToGAEB2K, bracket},
    };
    for (const auto &form : forms) {
        for (const auto &f : failures) {
            SCOPED_TRACE(std::string(form.name) + ", " + f.call + " #" + std::to_string(f.nth));
            for (const char *before : {"", "the old file\r\n"}) {  // "": no file
                if (*before) harness::write_file(file, before);
                else std::remove(file.c_str());
                harness::Fault fault(f.call, f.nth, harness::kDiskFull);
                EXPECT_EQ(form.save(t.root, file.c_str()), 0);
                fault.disarm();
                EXPECT_EQ(harness::file_exists(file) ? harness::read_file(file) : "", before);
                EXPECT_EQ(harness::folder_entries(folder), size_t(*before ? 1 : 0)) << "a new file left behind";
            }
        }
        ASSERT_EQ(form.save(t.root, file.c_str()), 1) << form.name;
        EXPECT_EQ(read_dump(form.read, file), dump(t.root)) << form.name;
    }
    EXPECT_EQ(koXML_SaveTreeToFile(t.root, path("no/such/folder/x.xml").c_str()), 0);
}

TEST_F(XmlIo, GaebExampleReads) {
    std::string file = __FILE__;  // the example lies beside this file
    file.erase(file.find_last_of("/\\") + 1) += "data/lv_gemischt.p83";
    Tree mixed{koXML_CreateTreeExFromGAEB2K(file.c_str())};
    XML_Node *lv = koXML_GetChildByNameEx(mixed.root, "Vergabe/LV");
    ASSERT_NE(lv, nullptr);
    EXPECT_EQ(dump(koXML_GetChildByNameEx(lv, "POSITION/>")),
              "POSITION{OZ@1=01.0020;KurzText@1=Bauzaun stellen;LANGTEXT@1=Bauzaun aus Stahlgitterelementen, H\xF6he "
              "2,00 m,\\r\\nauf Fu\xDFplatten, f\xFCr die Dauer der Bauzeit.;ME@1=m;MENGE@1=120,000}");
    EXPECT_EQ(dump(koXML_GetChildByNameEx(lv, "POSITION/>/>/OZ")), "OZ@1=02.0010");
}

// Read and written without recursion, so deep nesting cannot exhaust the stack. The bracket reader
// keeps the blocks read before the text ended, and goes on behind the deepest block.
TEST_F(XmlIo, DeepNestingIsReadAndSaved) {
    constexpr int kElements = 300000, kBlocks = 100000;
    std::string doc;
    for (int i = 0; i < kElements; ++i) doc += "<a>";
    Tree xml{koXML_CreateTreeExAnsiString(doc.c_str(), int32_t(doc.size()))};
    ASSERT_NE(xml.root, nullptr);
    XML_Node *deepest = xml.root;
    while (XML_Node *below = koXML_GetFirstChild(deepest)) deepest = below;
    ASSERT_EQ(koXML_GetDeept(deepest), kElements - 1);
    // The declaration, then "<a>" and "</a>" lines around the deepest "<a />".
    EXPECT_EQ(saved(koXML_SaveTreeToFile, xml.root).size(), 24 + (5 + 8) * size_t(kElements - 1) + 7);

    std::string text = "#begin[GAEB]\n";
    for (int i = 0; i < kBlocks; ++i) text += "#begin[a]\n";
    const std::string file = path("deep.p83");
    for (bool closed : {false, true}) {
        if (closed) {
            text += "[F]x[end]\n";
            for (int i = 0; i < kBlocks; ++i) text += "#end[a]\n";
            text += "#begin[b]\n#end[b]\n#end[GAEB]\n";
        }
        harness::write_file(file, text);
        Tree t{koXML_CreateTreeExFromGAEB2K(file.c_str())};
        ASSERT_NE(t.root, nullptr);
        int depth = 0;
        XML_Node *n = koXML_GetFirstChild(t.root);
        for (; n && std::string(koXML_GetName(n)) == "a"; n = koXML_GetFirstChild(n)) ++depth;
        EXPECT_EQ(depth, kBlocks) << closed;
        EXPECT_EQ(dump(n), closed ? "F@1=x" : "null");
        EXPECT_EQ(dump(koXML_GetNext(koXML_GetFirstChild(t.root))), closed ? "b" : "null");
    }
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
        harness::Fault diskFull("WriteFile", nth, harness::kDiskFull);  // none at 0
        Tree t{koXML_CreateTreeExAnsiString(doc.c_str(), int32_t(doc.size()))};
        diskFull.disarm();
        ASSERT_NE(t.root, nullptr);
        int i = 0, lost = 0;
        for (XML_Node *p = koXML_GetFirstChild(t.root); p; p = koXML_GetNext(p), ++i) {
            for (XML_Node *v : {p, koXML_GetFirstChild(p)}) {
                ASSERT_NE(v, nullptr);
                const std::string got = value_of(v);
                if (got == text(i)) continue;
                ++lost;
                EXPECT_TRUE(got.empty() || got == "<unreadable>")
                    << "fault " << nth << ", element " << i << ": " << got.substr(0, 12);
            }
        }
        EXPECT_EQ(i, kCount);
        EXPECT_TRUE(nth > 1 || (lost > 0) == (nth == 1)) << "only a failing write loses values";
    }
}

}  // namespace
