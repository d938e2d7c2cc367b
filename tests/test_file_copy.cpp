// Copying files with the replace questions and error boxes, answered through a UI provider.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/test_env.h"
#include "tarngdi32.h"

namespace fs = std::filesystem;

namespace {

constexpr int32_t kOk = 1, kCancel = 2, kYes = 6, kNo = 7;
constexpr uint32_t kOkCancel = 1, kYesNoCancel = 3, kYesNo = 4, kOkOnly = 0;

const char *const kKeepAll = "Wollen Sie alle weiteren Dateien ebenfalls behalten ?";
const char *const kReplaceAll = "Wollen Sie alle weiteren Dateien ebenfalls ersetzen ?";

struct Box {
    std::string text, caption;
    uint32_t type;
    bool operator==(const Box &o) const {
        return text == o.text && caption == o.caption && type == o.type;
    }
};

std::ostream &operator<<(std::ostream &os, const Box &b) {
    return os << "{" << b.text << " | " << b.caption << " | " << b.type << "}";
}

// The answers the user gives, in order, and the boxes shown.
struct User {
    std::vector<int32_t> answers;
    std::vector<Box> shown;
};

int32_t answer_box(void *context, const char *text, const char *caption, uint32_t type) {
    auto *user = static_cast<User *>(context);
    user->shown.push_back({text, caption, type});
    const size_t i = user->shown.size() - 1;
    return i < user->answers.size() ? user->answers[i] : 0;
}

void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool writable(const std::string &path) {
    return (fs::status(path).permissions() & fs::perms::owner_write) != fs::perms::none;
}

void set_read_only(const std::string &path, bool on) {
    const auto write = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    fs::permissions(path, on ? write : fs::perms::owner_write,
                    on ? fs::perm_options::remove : fs::perm_options::add);
}

class FileCopy : public ::testing::Test {
protected:
    void SetUp() override {
        TarnUiProvider p = {};
        p.size = sizeof p;
        p.context = &user;
        p.messageBox = answer_box;
        tarnSetUiProvider(&p);
    }
    void TearDown() override {
        tarnSetUiProvider(nullptr);
        tarnSetSysCallFault("WriteFile", 0, 0);
    }
    std::string path(const char *name) const { return test_env::join(dir, name); }

    User user;
    std::string dir = test_env::temp_folder("copy");
    std::string source = path("quelle.txt");
    std::string target = path("ziel.txt");
};

TEST_F(FileCopy, ExistingTargetFollowsTheFlagsAndAnswers) {
    const struct {
        const char *name;
        uint32_t flags;
        std::vector<int32_t> answers;
        int32_t result;
        uint32_t flagsAfter;
        bool replaced;
        std::vector<Box> boxes;  // texts of "" stand for the target's name
    } cases[] = {
        {"kept silently", 0, {}, 0, 0, false, {}},
        {"replaced silently", 2, {}, 1, 2, true, {}},
        {"exists, OK", 4, {kOk}, 0, 4, false, {{"", "Datei existiert bereits.", kOkCancel}}},
        {"exists, Cancel", 4, {kCancel}, 0, 12, false, {{"", "Datei existiert bereits.", kOkCancel}}},
        {"replace? Cancel", 6, {kCancel}, 0, 14, false, {{"", "Datei ersetzen.", kYesNoCancel}}},
        {"replace? No, keep all", 6, {kNo, kYes}, 1, 0, false,
         {{"", "Datei ersetzen.", kYesNoCancel}, {kKeepAll, "Fortsetzen", kYesNo}}},
        {"replace? No, ask again", 6, {kNo, kNo}, 1, 6, false,
         {{"", "Datei ersetzen.", kYesNoCancel}, {kKeepAll, "Fortsetzen", kYesNo}}},
        {"replace? Yes, replace all", 6, {kYes, kYes}, 1, 2, true,
         {{"", "Datei ersetzen.", kYesNoCancel}, {kReplaceAll, "Fortsetzen", kYesNo}}},
        {"replace? Yes, ask again", 6, {kYes, kNo}, 1, 6, true,
         {{"", "Datei ersetzen.", kYesNoCancel}, {kReplaceAll, "Fortsetzen", kYesNo}}},
        {"cancelled before", 2 | 8, {}, 0, 10, false, {}},
    };
    for (const auto &c : cases) {
        write_file(source, "neu");
        write_file(target, "alt");
        user = User{c.answers, {}};
        uint32_t flags = c.flags;
        EXPECT_EQ(koCopySingleFile(nullptr, source.c_str(), target.c_str(), 0xFFFFFFFF, &flags),
                  c.result) << c.name;
        EXPECT_EQ(flags, c.flagsAfter) << c.name;
        EXPECT_EQ(read_file(target), c.replaced ? "neu" : "alt") << c.name;
        std::vector<Box> expect = c.boxes;
        for (Box &b : expect)
            if (b.text.empty()) b.text = target;
        EXPECT_EQ(user.shown, expect) << c.name;
    }
}

// The first copy leaves a read-only target, which the second must replace.
TEST_F(FileCopy, BytesTimesAndMaskedAttributesGoOver) {
    std::string bytes;
    for (int i = 0; i < 2 * 4096 + 1; ++i) bytes += char(i * 7);  // zeros included, past two buffers
    write_file(source, bytes);
    // Whole seconds: every platform's file times hold them exactly.
    const fs::file_time_type stamp = std::chrono::time_point_cast<std::chrono::seconds>(
        fs::last_write_time(source) - std::chrono::hours(24 * 400));
    fs::last_write_time(source, stamp);
    set_read_only(source, true);

    const struct { uint32_t mask; bool readOnly; } cases[] = {
        {0xFFFFFFFF, true},
        {~1u, false},
    };
    for (const auto &c : cases) {
        uint32_t flags = TARN_COPY_REPLACE;
        EXPECT_EQ(koCopySingleFile(nullptr, source.c_str(), target.c_str(), c.mask, &flags), 1);
        EXPECT_EQ(read_file(target), bytes);
        EXPECT_EQ(fs::last_write_time(target), stamp);
        EXPECT_EQ(writable(target), !c.readOnly) << std::hex << c.mask;
    }
    set_read_only(source, false);
    set_read_only(target, false);
}

TEST_F(FileCopy, OpenAndCreateErrorsAreReportedOnlyWithBit1) {
    const std::string missing = path("fehlt.txt");
    const std::string noFolder = test_env::join(path("kein"), "ziel.txt");
    write_file(source, "neu");
    const struct {
        const char *name;
        std::string from, to;
        uint32_t flags;
        std::vector<int32_t> answers;
        int32_t result;
        uint32_t flagsAfter;
        bool emptyTarget;  // an unreadable source nobody hears about still leaves an empty target
        std::vector<Box> boxes;
    } cases[] = {
        {"source, OK", missing, target, 1, {kOk}, 0, 1, false,
         {{missing, "Datei nicht offen.", kOkCancel}}},
        {"source, Cancel", missing, target, 1, {kCancel}, 0, 9, false,
         {{missing, "Datei nicht offen.", kOkCancel}}},
        {"source, unreported", missing, target, 0, {}, 1, 0, true, {}},
        {"target, OK", source, noFolder, 1, {kOk}, 0, 1, false,
         {{noFolder, "Datei nicht erstellbar.", kOkCancel}}},
        {"target, Cancel", source, noFolder, 1, {kCancel}, 0, 9, false,
         {{noFolder, "Datei nicht erstellbar.", kOkCancel}}},
        {"target, unreported", source, noFolder, 0, {}, 0, 0, false, {}},
    };
    for (const auto &c : cases) {
        fs::remove(target);
        user = User{c.answers, {}};
        uint32_t flags = c.flags;
        EXPECT_EQ(koCopySingleFile(nullptr, c.from.c_str(), c.to.c_str(), 0xFFFFFFFF, &flags),
                  c.result) << c.name;
        EXPECT_EQ(flags, c.flagsAfter) << c.name;
        EXPECT_EQ(user.shown, c.boxes) << c.name;
        EXPECT_EQ(fs::exists(c.to), c.emptyTarget) << c.name;
        if (c.emptyTarget) {
            EXPECT_EQ(read_file(c.to), "") << c.name;
        }
    }
}

TEST_F(FileCopy, WriteFailureAlwaysReportsAndCancels) {
    write_file(source, "neu");
    user = User{{kOk}, {}};
    uint32_t flags = 0;
    tarnSetSysCallFault("WriteFile", 1, 112);  // ERROR_DISK_FULL
    EXPECT_EQ(koCopySingleFile(nullptr, source.c_str(), target.c_str(), 0xFFFFFFFF, &flags), 0);
    EXPECT_EQ(flags, TARN_COPY_CANCEL);
    EXPECT_EQ(user.shown, std::vector<Box>({{target, "Fehler beim schreiben.", kOkOnly}}));

    // Cancelled stays cancelled: the next call does nothing.
    fs::remove(target);
    EXPECT_EQ(koCopySingleFile(nullptr, source.c_str(), target.c_str(), 0xFFFFFFFF, &flags), 0);
    EXPECT_FALSE(fs::exists(target));
    EXPECT_EQ(user.shown.size(), 1u);
}

class FileCopyEx : public FileCopy {
protected:
    void SetUp() override {
        FileCopy::SetUp();
        from = path("von");
        to = path("nach");
        fs::create_directory(from);
        fs::create_directory(to);
        for (const char *name : {"a.txt", "b.txt", "c.dat"}) write_file(test_env::join(from, name), name);
        fs::create_directory(test_env::join(from, "d.txt"));
    }
    std::vector<std::string> copied() const {
        std::vector<std::string> names;
        for (const auto &e : fs::directory_iterator(to)) names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::string from, to;
};

TEST_F(FileCopyEx, CopiesMatchingFilesIntoTheFolderWhateverItEndsWith) {
    // No ending, a backslash, and the system's own separator.
    for (const std::string &suffix : {std::string(), std::string("\\"), test_env::join("", "")}) {
        fs::remove_all(to);
        fs::create_directory(to);
        uint32_t flags = 0;
        EXPECT_EQ(koCopyFileEx(nullptr, test_env::join(from, "*.txt").c_str(), 0,
                               (to + suffix).c_str(), 0xFFFFFFFF, &flags), 1) << suffix;
        EXPECT_EQ(copied(), std::vector<std::string>({"a.txt", "b.txt"})) << suffix;
        EXPECT_EQ(read_file(test_env::join(to, "b.txt")), "b.txt");
    }
    uint32_t flags = 0;
    EXPECT_EQ(koCopyFileEx(nullptr, test_env::join(from, "*.xyz").c_str(), 0, to.c_str(), 0xFFFFFFFF,
                           &flags), 1) << "nothing matched";
}

// A full path longer than the 512 places it is taken into leaves nothing to enumerate.
TEST_F(FileCopyEx, PatternWhoseFullPathDoesNotFitMatchesNothing) {
    std::string pattern = from;
    while (pattern.size() < 700) pattern = test_env::join(pattern, "abcdefghij");
    pattern = test_env::join(pattern, "*.txt");
    uint32_t flags = TARN_COPY_REPORT;
    EXPECT_EQ(koCopyFileEx(nullptr, pattern.c_str(), 0, to.c_str(), 0xFFFFFFFF, &flags), 1);
    EXPECT_EQ(flags, TARN_COPY_REPORT);
    EXPECT_TRUE(user.shown.empty());
    EXPECT_TRUE(copied().empty());
}

// An empty folder is followed by the separator like any other, so the target names the root
// (of the current drive), not the current folder. Where the root takes the file it is removed
// again; where it does not, the report names the target.
TEST_F(FileCopyEx, EmptyFolderTargetsTheRoot) {
    const std::string name = "tarn-copy-" + fs::path(dir).filename().string() + ".txt";
    write_file(test_env::join(from, name), "root");
    const std::string atRoot = test_env::join("", name);
    const fs::path here = fs::current_path();
    fs::current_path(to);
    user = User{{kOk}, {}};
    uint32_t flags = TARN_COPY_REPORT;
    EXPECT_EQ(koCopyFileEx(nullptr, test_env::join(from, name).c_str(), 0, "", 0xFFFFFFFF, &flags), 1);
    const bool created = fs::exists(atRoot);
    const std::string bytes = created ? read_file(atRoot) : std::string();
    if (created) fs::remove(atRoot);
    fs::current_path(here);

    EXPECT_TRUE(copied().empty()) << "nothing lands in the current folder";
    if (created) {
        EXPECT_EQ(bytes, "root");
        EXPECT_TRUE(user.shown.empty());
    } else {
        EXPECT_EQ(user.shown, std::vector<Box>({{atRoot, "Datei nicht erstellbar.", kOkCancel}}));
    }
}

TEST_F(FileCopyEx, CancelStopsTheRestAndSticks) {
    for (const char *name : {"a.txt", "b.txt"}) write_file(test_env::join(to, name), "alt");
    user = User{{kCancel}, {}};
    uint32_t flags = TARN_COPY_REPLACE | TARN_COPY_ASK;
    const std::string pattern = test_env::join(from, "*.txt");
    EXPECT_EQ(koCopyFileEx(nullptr, pattern.c_str(), 0, to.c_str(), 0xFFFFFFFF, &flags), 0);
    EXPECT_EQ(user.shown.size(), 1u) << "the second file is not asked about";
    EXPECT_EQ(flags, TARN_COPY_REPLACE | TARN_COPY_ASK | TARN_COPY_CANCEL);
    EXPECT_EQ(koCopyFileEx(nullptr, pattern.c_str(), 0, to.c_str(), 0xFFFFFFFF, &flags), 0);
    EXPECT_EQ(user.shown.size(), 1u);
    EXPECT_EQ(read_file(test_env::join(to, "a.txt")), "alt");
    EXPECT_EQ(read_file(test_env::join(to, "b.txt")), "alt");
}

}  // namespace
