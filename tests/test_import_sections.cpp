// Import records and their fields; INI sections added, deleted and loaded by hand.
#include <gtest/gtest.h>

#include <filesystem>

#include "harness.h"

namespace {

using Lines = std::vector<std::string>;
using harness::read_file;
using harness::write_file;

// A file's records (at most 100); a read that finds nothing must leave the pointer where it was.
Lines read_records(const std::string &path, int32_t maxLength, bool ansi = false) {
    Lines records;
    HANDLE h = X_Open(path.c_str(), 0);
    EXPECT_NE(h, TARN_INVALID_HANDLE) << path;
    while (h != TARN_INVALID_HANDLE && records.size() < 100) {
        const int32_t before = X_Seek(h, 0, 1);
        char *line = ansi ? koReadImportLineAnsi(&h, maxLength) : koReadImportLine(&h, maxLength);
        if (!line) {
            EXPECT_EQ(X_Seek(h, 0, 1), before);
            break;
        }
        records.emplace_back(line);
        koFreeImportLine(line);
    }
    if (h != TARN_INVALID_HANDLE) X_Close(h);
    return records;
}

Lines tokens(std::string record) {
    Lines out;
    char *cursor = nullptr;
    for (char *t = koImportToken(&cursor, &record[0]); t; t = koImportToken(&cursor, nullptr)) out.emplace_back(t);
    EXPECT_EQ(koImportToken(&cursor, nullptr), nullptr) << "the cursor stays on the end";
    return out;
}

// A fresh folder with the name of the file each test reads and writes.
struct ImportFile : ::testing::Test {
    std::string dir = test_env::temp_folder("import");
    std::string file = test_env::join(dir, "import.txt");
};
using IniFile = ImportFile;

// Records end only at line ends outside quotes, and a quote opens a field only at its start. The
// maximum is a 16-bit count, the result signed 16-bit: over 32767 bytes, or a count of 0, read nothing.
TEST_F(ImportFile, RecordsAndTheirFields) {
    const std::string big = std::string(40000, 'a') + ";\r\n";
    const struct {
        const char *name;
        std::string bytes;
        int32_t max;
        Lines expect;
    } cases[] = {
        {"quoted line break", "\"x\r\ny\";z;\r\nnext;\r\n", 100, {"\"x\r\ny\";z;", "next;"}},
        {"quote inside a field opens nothing", "a\"b;c;\r\nd;\n", 100, {"a\"b;c;", "d;"}},
        {"quote not before ; stays open", "\"a\"b\r\n\";c;\r\nd;\r\n", 100, {"\"a\"b\r\n\";c;", "d;"}},
        {"no final line end", "a;\r\nb;", 100, {"a;", "b;"}},
        {"line end read last", "ab;\nc;\n", 4, {"ab;", "c;"}},
        {"cut record goes on at the cut", "aaaa;bbbb;\r\nc;\r\n", 6, {"aaaa;b", "bbb;", "c;"}},
        // The continuation starts outside quotes, so the quoted line break now ends a record.
        {"cut inside quotes", "\"a;b\r\nc\";\r\nd;\r\n", 5, {"\"a;b\r", "", "c\";", "d;"}},
        {"32767 bytes", big, 32767, {std::string(32767, 'a'), std::string(7233, 'a') + ";"}},
        {"more read as nothing", big, 40000, {}},
        {"also the full count", big, 65535, {}},
        {"a count that wraps to 0", big, 65536, {}},
        {"a count that wraps to 10", "0123456789abc;\r\n", 65536 + 10, {"0123456789", "abc;"}},
    };
    for (const auto &c : cases) {
        write_file(file, c.bytes);
        EXPECT_EQ(read_records(file, c.max), c.expect) << c.name;
    }
    const BOOL previous = koSetUseCodePages(0);  // the fixed tables, the same on every machine
    write_file(file, "\"Zeile 1\r\nZeile 2\";M\xFCller;\r\n");
    EXPECT_EQ(read_records(file, 200, true), Lines({"\"Zeile 1\r\nZeile 2\";M\x81ller;"})) << "the ANSI form: OEM";
    koSetUseCodePages(previous);

    const struct {
        std::string record;
        Lines expect;
    } fields[] = {
        {"\"Meier; Sohn\";\"Zeile 1\r\nZeile 2\";42;", {"Meier; Sohn", "Zeile 1\r\nZeile 2", "42"}},
        {"\"x\"", {"x\""}},  // no ";" behind the closing quote: it stays in the field
        {"a;;b;", {"a", "", "b"}},
        {"a\"b\";c;", {"a\"b\"", "c"}},
        {"\"a\"b\";c;", {"a\"b", "c"}},
    };
    for (const auto &c : fields) EXPECT_EQ(tokens(c.record), c.expect) << c.record;
}

TEST_F(IniFile, DeleteRewritesEveryHeaderUpperCased) {
    const struct {
        const char *section;
        std::string before, after;
    } cases[] = {
        {"fehlt", "[eins]\r\na=1\r\n[Zwei]\r\nb=2\r\n[nicht] Kopf\r\n",
         "[EINS]\r\na=1\r\n[ZWEI]\r\nb=2\r\n[nicht] Kopf\r\n"},
        {"b", "[a]\r\nx=1\r\n[B]\r\ny=2\r\n[c]\r\nz=3\r\n", "[A]\r\nx=1\r\n[C]\r\nz=3\r\n"},
        {"x", "[a]\r\nx=1", "[A]\r\nx=1\r\n"},
        // The header behind a dropped section is kept without being compared.
        {"a", "[a]\r\n1\r\n[a]\r\n2\r\n[b]\r\n[a]\r\n3\r\n", "[A]\r\n2\r\n[B]\r\n"},
    };
    for (const auto &c : cases) {
        write_file(file, c.before);
        EXPECT_EQ(DelIniAbschnitt(file.c_str(), c.section), 1) << c.before;
        EXPECT_EQ(read_file(file), c.after) << c.before;
    }
    EXPECT_EQ(DelIniAbschnitt(test_env::join(dir, "none.ini").c_str(), "a"), 0);

    // A failed copy back keeps both files.
    const std::string temp = test_env::join(dir, "temp");
    std::filesystem::create_directory(temp);
    test_env::set_temp_folder(temp);
    write_file(file, "[a]\r\nx=1\r\n[b]\r\ny=2\r\n");
    {
        harness::Fault f("CopyFile", 1, harness::kAccessDenied);
        EXPECT_EQ(DelIniAbschnitt(file.c_str(), "a"), 0);
    }
    test_env::set_temp_folder("");
    EXPECT_EQ(read_file(file), "[a]\r\nx=1\r\n[b]\r\ny=2\r\n");
    Lines left;
    for (const auto &e : std::filesystem::directory_iterator(temp)) left.push_back(read_file(e.path().string()));
    EXPECT_EQ(left, Lines({"[B]\r\ny=2\r\n"})) << "the rewritten text stays in the temporary file";
}

// Headers are upper-cased by the plain ASCII rule, whatever the code pages.
TEST_F(IniFile, AddThenLoadRoundTrip) {
    ASSERT_EQ(AddIniAbschnitt(file.c_str(), "Farben", "Rot=1\r\nGruen=2\r\n"), 1);
    EXPECT_EQ(read_file(file), "\r\n[FARBEN]\r\nRot=1\r\nGruen=2\r\n");
    ASSERT_EQ(AddIniAbschnitt(file.c_str(), "Zwei", "k=v"), 1);
    ASSERT_EQ(AddIniAbschnitt(file.c_str(), "farben", "Blau=3\r\n"), 1);
    const std::string other = test_env::join(dir, "other.ini"), none = test_env::join(dir, "none.ini");
    ASSERT_EQ(AddIniAbschnitt(other.c_str(), "gr\xFCn", "a=1\r\n"), 1);
    EXPECT_EQ(read_file(other), "\r\n[GR\xFCN]\r\na=1\r\n");

    const struct {
        const std::string &path;
        const char *section;
        int32_t found;
        const char *text;
    } loads[] = {
        {file, "FARBEN", 1, "Blau=3\r\n"}, {file, "zwei", 1, "k=v\r\n\r\n"},  // the empty line before the next header
        {other, "Gr\xFCn", 1, "a=1\r\n"},  {other, "GR\xDCN", 0, "x"},
        {file, "fehlt", 0, "x"},           {none, "a", 0, "x"},
    };
    for (const auto &c : loads) {
        char buffer[256] = "x";
        EXPECT_EQ(LoadIniAbschnitt(c.path.c_str(), c.section, buffer), c.found) << c.section;
        EXPECT_STREQ(buffer, c.text) << c.section;
    }
}

// The text's write is judged on its signed 16-bit result: -1 fails, also as the full count of 65535
// bytes. In a new file the header line takes the first two writes and the text the third.
TEST_F(IniFile, AddJudgesTheTextWriteOnItsSixteenBitResult) {
    const struct {
        size_t length;
        int32_t failingWrite, result;
    } cases[] = {
        {3, 0, 1}, {3, 3, 0}, {40000, 0, 1}, {40000, 3, 0}, {65535, 3, 0}, {65535, 0, 0},
    };
    for (const auto &c : cases) {
        std::filesystem::remove(file);
        const std::string text(c.length, 'x');
        {
            harness::Fault f("WriteFile", c.failingWrite, harness::kDiskFull);  // 0: nothing fails
            EXPECT_EQ(AddIniAbschnitt(file.c_str(), "s", text.c_str()), c.result)
                << c.length << " failing " << c.failingWrite;
        }
        EXPECT_TRUE(read_file(file) == "\r\n[S]\r\n" + (c.failingWrite ? "" : text)) << c.length;
    }
}

}  // namespace
