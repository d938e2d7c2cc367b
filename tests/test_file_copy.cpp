// Copying files with the replace questions and error boxes, answered through a UI provider.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "harness.h"
#include "platform/test_env.h"
#include "tarngdi32.h"

namespace fs = std::filesystem;
using harness::read_file;
using harness::write_file;

namespace {

constexpr int32_t kOk = 1, kCancel = 2, kYes = 6, kNo = 7;
constexpr uint32_t kOkCancel = 1, kYesNoCancel = 3, kYesNo = 4, kOkOnly = 0;
constexpr uint32_t kAll = 0xFFFFFFFF;

const char *const kKeepAll = "Wollen Sie alle weiteren Dateien ebenfalls behalten ?";
const char *const kReplaceAll = "Wollen Sie alle weiteren Dateien ebenfalls ersetzen ?";

// The harness's provider gives every box the same answer; a replace question and the question
// after it need one each. The answers are given in turn, 0 once they run out.
struct User : harness::FakeUi {
    std::vector<int32_t> answers;
    explicit User(std::vector<int32_t> inTurn = {}) : answers(std::move(inTurn)) {
        TarnUiProvider p = {sizeof p, this, nullptr, nullptr, nullptr};
        p.messageBox = [](void *context, const char *text, const char *caption, uint32_t type) -> int32_t {
            auto *user = static_cast<User *>(context);
            user->boxes.push_back(text);
            user->captions.push_back(caption);
            user->boxTypes.push_back(type);
            return user->boxes.size() <= user->answers.size() ? user->answers[user->boxes.size() - 1] : 0;
        };
        tarnSetUiProvider(&p);
    }
    // The boxes shown, as "text | caption | type".
    std::vector<std::string> shown() const {
        std::vector<std::string> out;
        for (size_t i = 0; i < boxes.size(); ++i)
            out.push_back(boxes[i] + " | " + captions[i] + " | " + std::to_string(boxTypes[i]));
        return out;
    }
};

std::string box(const std::string &text, const char *caption, uint32_t type) {
    return text + " | " + caption + " | " + std::to_string(type);
}

bool writable(const std::string &path) {
    return (fs::status(path).permissions() & fs::perms::owner_write) != fs::perms::none;
}

void set_read_only(const std::string &path, bool on) {
    const auto write = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    fs::permissions(path, on ? write : fs::perms::owner_write, on ? fs::perm_options::remove : fs::perm_options::add);
}

class FileCopy : public ::testing::Test {
protected:
    std::string path(const char *name) const { return test_env::join(dir, name); }
    std::string dir = test_env::temp_folder("copy");
    std::string source = path("quelle.txt");
    std::string target = path("ziel.txt");
};

TEST_F(FileCopy, ExistingTargetFollowsTheFlagsAndAnswers) {
    const std::string exists = box(target, "Datei existiert bereits.", kOkCancel),
                      replace = box(target, "Datei ersetzen.", kYesNoCancel),
                      keepAll = box(kKeepAll, "Fortsetzen", kYesNo), replaceAll = box(kReplaceAll, "Fortsetzen", kYesNo);
    const struct { const char *name; uint32_t flags; std::vector<int32_t> answers; int32_t result; uint32_t flagsAfter;
                   bool replaced; std::vector<std::string> boxes; } cases[] = {
        {"kept silently", 0, {}, 0, 0, false, {}},
        {"replaced silently", 2, {}, 1, 2, true, {}},
        {"exists, OK", 4, {kOk}, 0, 4, false, {exists}},
        {"exists, Cancel", 4, {kCancel}, 0, 12, false, {exists}},
        {"replace? Cancel", 6, {kCancel}, 0, 14, false, {replace}},
        {"replace? No, keep all", 6, {kNo, kYes}, 1, 0, false, {replace, keepAll}},
        {"replace? No, ask again", 6, {kNo, kNo}, 1, 6, false, {replace, keepAll}},
        {"replace? Yes, replace all", 6, {kYes, kYes}, 1, 2, true, {replace, replaceAll}},
        {"replace? Yes, ask again", 6, {kYes, kNo}, 1, 6, true, {replace, replaceAll}},
        {"cancelled before", 2 | 8, {}, 0, 10, false, {}},
    };
    for (const auto &c : cases) {
        write_file(source, "neu");
        write_file(target, "alt");
        User user(c.answers);
        uint32_t flags = c.flags;
        EXPECT_EQ(koCopySingleFile(nullptr, source.c_str(), target.c_str(), kAll, &flags), c.result) << c.name;
        EXPECT_EQ(flags, c.flagsAfter) << c.name;
        EXPECT_EQ(read_file(target), c.replaced ? "neu" : "alt") << c.name;
        EXPECT_EQ(user.shown(), c.boxes) << c.name;
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
    for (const uint32_t mask : {kAll, ~1u}) {
        uint32_t flags = TARN_COPY_REPLACE;
        EXPECT_EQ(koCopySingleFile(nullptr, source.c_str(), target.c_str(), mask, &flags), 1);
        EXPECT_EQ(read_file(target), bytes);
        EXPECT_EQ(fs::last_write_time(target), stamp);
        EXPECT_EQ(writable(target), mask != kAll) << std::hex << mask;
    }
    set_read_only(source, false);
    set_read_only(target, false);
}

TEST_F(FileCopy, OpenAndCreateErrorsAreReportedOnlyWithBit1) {
    const std::string missing = path("fehlt.txt"), noFolder = test_env::join(path("kein"), "ziel.txt");
    write_file(source, "neu");
    const std::string notOpen = box(missing, "Datei nicht offen.", kOkCancel),
                      notMade = box(noFolder, "Datei nicht erstellbar.", kOkCancel);
    // An unreadable source nobody hears about still leaves an empty target.
    const struct { const char *name; std::string from, to; uint32_t flags; int32_t answer, result; uint32_t flagsAfter;
                   bool emptyTarget; std::vector<std::string> boxes; } cases[] = {
        {"source, OK", missing, target, 1, kOk, 0, 1, false, {notOpen}},
        {"source, Cancel", missing, target, 1, kCancel, 0, 9, false, {notOpen}},
        {"source, unreported", missing, target, 0, 0, 1, 0, true, {}},
        {"target, OK", source, noFolder, 1, kOk, 0, 1, false, {notMade}},
        {"target, Cancel", source, noFolder, 1, kCancel, 0, 9, false, {notMade}},
        {"target, unreported", source, noFolder, 0, 0, 0, 0, false, {}},
    };
    for (const auto &c : cases) {
        fs::remove(target);
        User user({c.answer});
        uint32_t flags = c.flags;
        EXPECT_EQ(koCopySingleFile(nullptr, c.from.c_str(), c.to.c_str(), kAll, &flags), c.result) << c.name;
        EXPECT_EQ(flags, c.flagsAfter) << c.name;
        EXPECT_EQ(user.shown(), c.boxes) << c.name;
        EXPECT_EQ(fs::exists(c.to), c.emptyTarget) << c.name;
        EXPECT_EQ(read_file(c.to), "") << c.name;
    }
}

TEST_F(FileCopy, WriteFailureAlwaysReportsAndCancels) {
    write_file(source, "neu");
    User user({kOk});
    uint32_t flags = 0;
    {
        harness::Fault diskFull("WriteFile", 1, harness::kDiskFull);
        EXPECT_EQ(koCopySingleFile(nullptr, source.c_str(), target.c_str(), kAll, &flags), 0);
    }
    EXPECT_EQ(flags, TARN_COPY_CANCEL);
    EXPECT_EQ(user.shown(), std::vector<std::string>{box(target, "Fehler beim schreiben.", kOkOnly)});
    // Cancelled stays cancelled: the next call does nothing.
    fs::remove(target);
    EXPECT_EQ(koCopySingleFile(nullptr, source.c_str(), target.c_str(), kAll, &flags), 0);
    EXPECT_FALSE(fs::exists(target));
    EXPECT_EQ(user.boxes.size(), 1u);
}

class FileCopyEx : public FileCopy {
protected:
    void SetUp() override {
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
    std::string from = path("von"), to = path("nach");
};

// The folder may end in nothing, a backslash or the system's own separator. A full path longer
// than the 512 places it is taken into leaves nothing to enumerate.
TEST_F(FileCopyEx, CopiesMatchingFilesIntoTheFolder) {
    std::string tooLong = from;
    while (tooLong.size() < 700) tooLong = test_env::join(tooLong, "abcdefghij");
    const struct { std::string pattern, to; std::vector<std::string> copied; } cases[] = {
        {test_env::join(from, "*.txt"), to, {"a.txt", "b.txt"}},
        {test_env::join(from, "*.txt"), to + "\\", {"a.txt", "b.txt"}},
        {test_env::join(from, "*.txt"), test_env::join(to, ""), {"a.txt", "b.txt"}},
        {test_env::join(from, "*.xyz"), to, {}},
        {test_env::join(tooLong, "*.txt"), to, {}},
    };
    for (const auto &c : cases) {
        fs::remove_all(to);
        fs::create_directory(to);
        User user;
        uint32_t flags = TARN_COPY_REPORT;
        EXPECT_EQ(koCopyFileEx(nullptr, c.pattern.c_str(), 0, c.to.c_str(), kAll, &flags), 1) << c.pattern;
        EXPECT_EQ(flags, TARN_COPY_REPORT);
        EXPECT_TRUE(user.boxes.empty()) << c.pattern;
        EXPECT_EQ(copied(), c.copied) << c.to;
        EXPECT_EQ(read_file(test_env::join(to, "b.txt")), c.copied.empty() ? "" : "b.txt");
    }
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
    User user({kOk});
    uint32_t flags = TARN_COPY_REPORT;
    EXPECT_EQ(koCopyFileEx(nullptr, test_env::join(from, name).c_str(), 0, "", kAll, &flags), 1);
    const bool created = fs::exists(atRoot);
    const std::string bytes = created ? read_file(atRoot) : std::string();
    if (created) fs::remove(atRoot);
    fs::current_path(here);

    EXPECT_TRUE(copied().empty()) << "nothing lands in the current folder";
    if (created) {
        EXPECT_EQ(bytes, "root");
        EXPECT_TRUE(user.boxes.empty());
    } else {
        EXPECT_EQ(user.shown(), std::vector<std::string>{box(atRoot, "Datei nicht erstellbar.", kOkCancel)});
    }
}

TEST_F(FileCopyEx, CancelStopsTheRestAndSticks) {
    for (const char *name : {"a.txt", "b.txt"}) write_file(test_env::join(to, name), "alt");
    User user({kCancel});
    uint32_t flags = TARN_COPY_REPLACE | TARN_COPY_ASK;
    const std::string pattern = test_env::join(from, "*.txt");
    EXPECT_EQ(koCopyFileEx(nullptr, pattern.c_str(), 0, to.c_str(), kAll, &flags), 0);
    EXPECT_EQ(user.boxes.size(), 1u) << "the second file is not asked about";
    EXPECT_EQ(flags, TARN_COPY_REPLACE | TARN_COPY_ASK | TARN_COPY_CANCEL);
    EXPECT_EQ(koCopyFileEx(nullptr, pattern.c_str(), 0, to.c_str(), kAll, &flags), 0);
    EXPECT_EQ(user.boxes.size(), 1u);
    EXPECT_EQ(read_file(test_env::join(to, "a.txt")), "alt");
    EXPECT_EQ(read_file(test_env::join(to, "b.txt")), "alt");
}

}  // namespace
