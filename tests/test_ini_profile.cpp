// INI files read and written through the profile calls. Every expected value is what Windows'
// own calls answer; natively the library's engine must answer the same. Under Wine the real calls
// check the table, except the rows where Wine 8 is known to answer otherwise than Windows.
#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "harness.h"

using namespace std::string_literals;

namespace {

enum class Call { get, write, number };

struct IniCase {
    const char *what;
    std::optional<std::string> before;  // file bytes before the call; none: no file
    Call call;
    const char *section, *key, *text;  // text: the default (get) or the value (write)
    int size;                          // get: buffer size; number: the default
    int result;
    std::string out;              // get: the buffer up to the NUL after the result
    const char *after = nullptr;  // write: the file bytes afterwards; null: no file
    const char *file = nullptr;   // null: a file of its own in the test folder
    bool wineDiffers = false;     // Wine 8 answers otherwise than Windows: not checked under Wine
};

std::optional<std::string> bytes(const char *text) { return text ? std::optional<std::string>(text) : std::nullopt; }

IniCase Get(const char *what, const char *before, const char *section, const char *key, const char *def, int size,
            int result, std::string out) {
    return {what, bytes(before), Call::get, section, key, def, size, result, std::move(out)};
}
IniCase Write(const char *what, const char *before, const char *section, const char *key, const char *value,
              bool result, const char *after, const char *file = nullptr) {
    return {what, bytes(before), Call::write, section, key, value, 0, result, "", after, file};
}
IniCase NotWine(IniCase c) {
    c.wineDiffers = true;
    return c;
}
IniCase Number(const char *what, const char *value, int def, int result) {
    return {what, "[N]\r\nk=" + std::string(value) + "\r\n", Call::number, "N", "k", nullptr, def, result, ""};
}

const char kAlpha[] = "[Alpha]\r\nk1=v1\r\nk2 = two words  \r\nnoeq\r\n;comment=x\r\n[ Beta ]\r\nx=1\r\n[Gamma]\r\n";
const char kQuotes[] = "[Q]\r\na=\"quoted\"\r\nb='single'\r\nc=\"mixed'\r\nd=\"\r\ne=\"\"\r\ng= \" sp \" \r\n";
const char kTwice[] = "[S]\r\nk=first\r\nK=second\r\n";
const char kComments[] = "; top comment\r\n[A]\r\n; inner comment\r\nk=v\r\nk=second\r\nnoeq\r\n[B]\r\nx=1";

std::vector<IniCase> cases() {
    return {
        // Lists: NUL-separated, an empty name at the end; a list that does not fit, or only
        // just fits, gives size-2.
        Get("all sections", kAlpha, nullptr, nullptr, "def", 20, 17, "Alpha\0Beta\0Gamma\0\0"s),
        Get("sections filling the buffer exactly", kAlpha, nullptr, nullptr, "def", 18, 16, "Alpha\0Beta\0Gamma\0"s),
        Get("sections cut inside a name", kAlpha, nullptr, nullptr, "def", 9, 7, "Alpha\0B\0"s),
        Get("keys skip lines without = and comments", kAlpha, "Alpha", nullptr, "def", 20, 6, "k1\0k2\0\0"s),
        Get("an empty section's keys: the default as is", kAlpha, "Gamma", nullptr, "\"def\"  ", 20, 7, "\"def\"  \0"s),

        Get("names ignore case and blanks around them", kAlpha, " alpha ", "  K2 ", "d", 30, 9, "two words\0"s),
        Get("double quotes", kQuotes, "Q", "a", "D", 30, 6, "quoted\0"s),
        Get("quotes that do not match stay", kQuotes, "Q", "c", "D", 30, 7, "\"mixed'\0"s),
        Get("empty quotes give an empty value", kQuotes, "Q", "e", "D", 30, 0, "\0"s),
        Get("only the first = splits", "[S]\r\na=b=c\r\n", "S", "a", "d", 30, 3, "b=c\0"s),
        Get("the first of two equal keys wins", kTwice, "s", "k", "d", 30, 5, "first\0"s),
        Get("the first of equal sections", "[A]\r\nk=1\r\n[B]\r\nk=2\r\n[a]\r\nm=4\r\n", "A", "m", "d", 30, 1, "d\0"s),
        Get("LF line ends and no final line end", "[A]\nk=v\n[B]\nx=1", "B", "x", "d", 30, 1, "1\0"s),
        Get("text after ] is ignored", "[B] junk\r\ny=1\r\n", "B", "y", "d", 30, 1, "1\0"s),
        NotWine(Get("a header ends at its first ]", "[sec]whoops]\r\nk=v\r\n", "sec", "k", "d", 30, 1, "v\0"s)),
        NotWine(
            Get("a header without ] runs to the line's end", "[B]\r\n[C  \r\nz=2\r\n", "C", "z", "d", 30, 1, "2\0"s)),
        Get("lines ended by CR alone", "[A]\rk=v\r[B]\rx=1\r", "B", "x", "d", 30, 1, "1\0"s),
        Get("tabs around names in the file are trimmed", "[\tT\t]\r\n\tk\t=\tv\t\r\n", "T", "k", "d", 30, 1, "v\0"s),
        NotWine(Get("a tab is part of a caller's section name", kAlpha, "\tAlpha", "k1", "d", 30, 1, "d\0"s)),
        NotWine(Get("a tab is part of a caller's key name", kAlpha, "Alpha", "k1\t", "d", 30, 1, "d\0"s)),
        NotWine(Get("a comment line is no key", "[S]\r\n;key=value\r\n", "S", ";key", "d", 30, 1, "d\0"s)),

        Get("a key line without = gives the default", kAlpha, "Alpha", "noeq", "d  ", 30, 1, "d\0"s),
        Get("an empty value is no default", "[S]\r\nK=\r\n", "S", "K", "d", 30, 0, "\0"s),
        Get("the default loses trailing spaces only", kAlpha, "Alpha", "zz", "  x y  \t ", 30, 8, "  x y  \t\0"s),
        Get("the default loses its quotes", kAlpha, "Alpha", "zz", "\"dq\"  ", 30, 2, "dq\0"s),
        Get("a default cut to size-1", kAlpha, "Alpha", "zz", "abcdef   ", 4, 3, "abc\0"s),
        Get("a value cut to size-1", kAlpha, "Alpha", "k2", "d", 5, 4, "two \0"s),
        Get("a value that just fits", kAlpha, "Alpha", "k2", "d", 10, 9, "two words\0"s),
        Get("a value into 1 character", kAlpha, "Alpha", "k2", "d", 1, 0, "\0"s),

        Number("sign and trailing text", "-17x", -5, -17),
        Number("hexadecimal", "0x1F", -5, 31),
        Number("upper-case X is no hexadecimal", "0X10", -5, 0),
        Number("a leading zero is still decimal", "010", -5, 10),
        Number("an empty value", "", -5, -5),
        Number("quotes are removed first", "\"12\"", -5, 12),
        Number("4294967295 wraps", "4294967295", -5, -1),
        Number("only the first 29 characters count", "123456789012345678901234567890123", -5, 1849262357),

        Write("the first write creates the file", nullptr, "Sec", "Key", "Value", true, "[Sec]\r\nKey=Value\r\n"),
        Write("a new section goes to the end", "[A]\r\nk=v\r\n", "C", "c", "4", true, "[A]\r\nk=v\r\n[C]\r\nc=4\r\n"),
        Write("the first key keeps its spelling", kTwice, "S", "K", "third", true, "[S]\r\nk=third\r\nK=second\r\n"),
        Write("a null value deletes the first of two keys", kTwice, "S", "K", nullptr, true, "[S]\r\nK=second\r\n"),
        Write("a null key: section and comments go", "[A]\r\n;c\r\nk=v\r\n;d\r\n[B]\r\n;e\r\n", "A", nullptr, nullptr,
              true, "[B]\r\n;e\r\n"),
        Write("deleting the last section leaves an empty file", "[A]\r\nk=v\r\n", "A", nullptr, nullptr, true, ""),
        Write("comments stay and a final line end is added", kComments, "A", "k", "new", true,
              "; top comment\r\n[A]\r\n; inner comment\r\nk=new\r\nk=second\r\nnoeq\r\n[B]\r\nx=1\r\n"),
        Write("a new key ends its section; LF comes back as CR LF", "[A]\nk=v\n[B]\nx=1\n", "a", "k2", "v2", true,
              "[A]\r\nk=v\r\nk2=v2\r\n[B]\r\nx=1\r\n"),
        // Windows inserts the line and keeps the rest of the file; Wine rewrites it without blank lines.
        NotWine(Write("a new key goes before the blank lines ending its section", "[A]\r\nk=v\r\n\r\n[B]\r\nx=1\r\n",
                      "A", "k2", "v2", true, "[A]\r\nk=v\r\nk2=v2\r\n\r\n[B]\r\nx=1\r\n")),
        Write("a key line without = gets the value", kComments, "A", "noeq", "5", true,
              "; top comment\r\n[A]\r\n; inner comment\r\nk=v\r\nk=second\r\nnoeq=5\r\n[B]\r\nx=1\r\n"),
        NotWine(Write("a value is written as given", "[A]\r\nk=v\r\n", "A", " k ", " \tlead ", true,
                      "[A]\r\nk= \tlead \r\n")),
        Write("deleting in a missing file creates none", nullptr, "A", "k", nullptr, true, nullptr),
        Write("a missing folder is not created", nullptr, "A", "k", "v", false, nullptr, "missing\\x.ini"),
        Write("a null section writes nothing", nullptr, nullptr, "k", "v", false, nullptr),
    };
}

TEST(IniProfile, AnswersAsWindowsDoes) {
    const std::string folder = test_env::temp_folder("ini_profile");
    const std::vector<IniCase> all = cases();
    for (size_t i = 0; i < all.size(); ++i) {
        const IniCase &c = all[i];
        SCOPED_TRACE(c.what);
        if (c.wineDiffers && test_env::system_is_wine()) continue;
        // A file of its own per case: Windows may keep a file it read cached by name.
        const std::string path = test_env::join(folder, c.file ? c.file : "case" + std::to_string(i) + ".ini");
        if (c.before) harness::write_file(path, *c.before);

        if (c.call == Call::get) {
            char buf[256];
            std::memset(buf, '#', sizeof buf);
            const int n = test_profile_get(c.section, c.key, c.text, buf, c.size, path.c_str());
            EXPECT_EQ(n, c.result);
            EXPECT_EQ(std::string(buf, size_t(n + 1 < c.size ? n + 1 : c.size)), c.out);
            EXPECT_EQ(std::string(buf + c.size, 8), "########") << "written past the buffer";
        } else if (c.call == Call::number) {
            EXPECT_EQ(test_profile_int(c.section, c.key, c.size, path.c_str()), c.result);
        } else {
            EXPECT_EQ(test_profile_write(c.section, c.key, c.text, path.c_str()), c.result != 0);
            EXPECT_EQ(harness::file_exists(path) ? harness::read_file(path) : "no file", c.after ? c.after : "no file");
        }
    }
}

}  // namespace
