// Copying files with the replace questions and error boxes, answered through a UI provider.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

#include "harness.h"

namespace fs = std::filesystem;

namespace {

constexpr int32_t kCancel = 2, kYes = 6, kNo = 7;
constexpr uint32_t kOkCancel = 1, kYesNoCancel = 3, kYesNo = 4, kAll = 0xFFFFFFFF;

std::string box(const std::string &text, const std::string &caption, uint32_t type) {
    return text + " | " + caption + " | " + std::to_string(type);
}

std::vector<std::string> shown(const harness::FakeUi &ui) {
    std::vector<std::string> out;
    for (size_t i = 0; i < ui.boxes.size(); ++i) out.push_back(box(ui.boxes[i], ui.captions[i], ui.boxTypes[i]));
    return out;
}

class FileCopy : public ::testing::Test {
protected:
    std::string path(const char *name) const { return test_env::join(dir, name); }
    int32_t copy(const std::string &from, const std::string &to, uint32_t *flags, uint32_t mask = kAll) {
        return koCopySingleFile(nullptr, from.c_str(), to.c_str(), mask, flags);
    }
    std::string dir = test_env::temp_folder("copy");
    std::string source = path("quelle.txt");
    std::string target = path("ziel.txt");
};

// An existing target follows the flags and answers. Open and create errors are reported only with
// bit 1 (an unreported unreadable source leaves an empty target); a write error always is, and cancels.
TEST_F(FileCopy, FlagsAnswersAndErrorsDecide) {
    const std::string missing = path("fehlt.txt"), noFolder = test_env::join(path("kein"), "ziel.txt");
    const std::string exists = box(target, "Datei existiert bereits.", kOkCancel),
                      replace = box(target, "Datei ersetzen.", kYesNoCancel),
                      keepAll = box("Wollen Sie alle weiteren Dateien ebenfalls behalten ?", "Fortsetzen", kYesNo),
                      replaceAll = box("Wollen Sie alle weiteren Dateien ebenfalls ersetzen ?", "Fortsetzen", kYesNo),
                      notOpen = box(missing, "Datei nicht offen.", kOkCancel),
                      notMade = box(noFolder, "Datei nicht erstellbar.", kOkCancel);
    const struct {
        const char *name, *after;
        std::string from, to;
        uint32_t flags, flagsAfter;
        std::deque<int32_t> answers;
        int32_t result;
        std::vector<std::string> boxes;
        int32_t failingWrite = 0;
    } cases[] = {
        {"kept silently", "alt", source, target, 0, 0, {}, 0, {}},
        {"replaced silently", "neu", source, target, 2, 2, {}, 1, {}},
        {"exists, Cancel", "alt", source, target, 4, 12, {kCancel}, 0, {exists}},
        {"replace? Cancel", "alt", source, target, 6, 14, {kCancel}, 0, {replace}},
        {"replace? No, keep all", "alt", source, target, 6, 0, {kNo, kYes}, 1, {replace, keepAll}},
        {"replace? No, ask again", "alt", source, target, 6, 6, {kNo, kNo}, 1, {replace, keepAll}},
        {"replace? Yes, replace all", "neu", source, target, 6, 2, {kYes, kYes}, 1, {replace, replaceAll}},
        {"cancelled before", "alt", source, target, 2 | 8, 10, {}, 0, {}},
        {"source, Cancel", nullptr, missing, target, 1, 9, {kCancel}, 0, {notOpen}},
        {"source, unreported", "", missing, target, 0, 0, {}, 1, {}},
        {"target, Cancel", nullptr, source, noFolder, 1, 9, {kCancel}, 0, {notMade}},
        {"target, unreported", nullptr, source, noFolder, 0, 0, {}, 0, {}},
        {"write error", "", source, target, 2, 10, {}, 0, {box(target, "Fehler beim schreiben.", 0)}, 1},
    };
    for (const auto &c : cases) {
        harness::write_file(source, "neu");
        if (c.from == source && c.to == target) harness::write_file(target, "alt");
        else fs::remove(target);
        harness::FakeUi user;
        user.answers = c.answers;
        uint32_t flags = c.flags;
        harness::Fault fault("WriteFile", c.failingWrite, harness::kDiskFull);  // 0 arms nothing
        EXPECT_EQ(copy(c.from, c.to, &flags), c.result) << c.name;
        EXPECT_EQ(flags, c.flagsAfter) << c.name;
        EXPECT_EQ(shown(user), c.boxes) << c.name;
        EXPECT_EQ(fs::exists(c.to), c.after != nullptr) << c.name;
        if (c.after) EXPECT_EQ(harness::read_file(c.to), c.after) << c.name;
    }
}

// The first copy leaves a read-only target, which the second must replace.
TEST_F(FileCopy, BytesTimesAndMaskedAttributesGoOver) {
    std::string bytes;
    for (int i = 0; i < 2 * 4096 + 1; ++i) bytes += char(i * 7);  // zeros included, past two buffers
    harness::write_file(source, bytes);
    // Whole seconds: every platform's file times hold them exactly.
    const fs::file_time_type stamp =
        std::chrono::time_point_cast<std::chrono::seconds>(fs::last_write_time(source) - std::chrono::hours(24 * 400));
    fs::last_write_time(source, stamp);
    fs::permissions(source, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
    for (const uint32_t mask : {kAll, ~1u}) {
        uint32_t flags = TARN_COPY_REPLACE;
        EXPECT_EQ(copy(source, target, &flags, mask), 1);
        EXPECT_EQ(harness::read_file(target), bytes);
        EXPECT_EQ(fs::last_write_time(target), stamp);
        EXPECT_EQ((fs::status(target).permissions() & fs::perms::owner_write) != fs::perms::none, mask != kAll) << mask;
    }
    for (const auto &p : {source, target}) fs::permissions(p, fs::perms::owner_write, fs::perm_options::add);
}

class FileCopyEx : public FileCopy {
protected:
    void SetUp() override {
        fs::create_directory(from);
        fs::create_directory(to);
        for (const char *name : {"a.txt", "b.txt", "c.dat"}) harness::write_file(test_env::join(from, name), name);
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

// The folder may end in nothing, a backslash or the system's own separator; a full path over the
// 512 places it is taken into leaves nothing to enumerate. A cancel stops the rest and sticks.
TEST_F(FileCopyEx, CopiesMatchingFilesIntoTheFolder) {
    std::string tooLong = from;
    while (tooLong.size() < 700) tooLong = test_env::join(tooLong, "abcdefghij");
    const std::string txt = test_env::join(from, "*.txt");
    const std::vector<std::string> ab = {"a.txt", "b.txt"};
    const struct {
        std::string pattern, to;
        std::vector<std::string> copied;
    } cases[] = {
        {txt, to, ab},
        {txt, to + "\\", ab},
        {txt, test_env::join(to, ""), ab},
        {test_env::join(from, "*.xyz"), to, {}},
        {test_env::join(tooLong, "*.txt"), to, {}},
    };
    for (const auto &c : cases) {
        fs::remove_all(to);
        fs::create_directory(to);
        harness::FakeUi user;
        uint32_t flags = TARN_COPY_REPORT;
        EXPECT_EQ(koCopyFileEx(nullptr, c.pattern.c_str(), 0, c.to.c_str(), kAll, &flags), 1) << c.pattern;
        EXPECT_TRUE(flags == TARN_COPY_REPORT && user.boxes.empty()) << c.pattern;
        EXPECT_EQ(copied(), c.copied) << c.to;
        EXPECT_EQ(harness::read_file(test_env::join(to, "b.txt")), c.copied.empty() ? "" : "b.txt");
    }

    for (const char *name : {"a.txt", "b.txt"}) harness::write_file(test_env::join(to, name), "alt");
    harness::FakeUi user;
    user.answers = {kCancel};
    uint32_t flags = TARN_COPY_REPLACE | TARN_COPY_ASK;
    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(koCopyFileEx(nullptr, txt.c_str(), 0, to.c_str(), kAll, &flags), 0);
        EXPECT_EQ(user.boxes.size(), 1u) << "nothing more is asked about";
        EXPECT_EQ(flags, TARN_COPY_REPLACE | TARN_COPY_ASK | TARN_COPY_CANCEL);
    }
    for (const char *name : {"a.txt", "b.txt"}) EXPECT_EQ(harness::read_file(test_env::join(to, name)), "alt");
}

// An empty folder is followed by the separator like any other, so the target names the root (of
// the current drive), not the current folder; where the root refuses it, the report names it.
TEST_F(FileCopyEx, EmptyFolderTargetsTheRoot) {
    const std::string name = "tarn-" + fs::path(dir).filename().string() + ".txt", atRoot = test_env::join("", name);
    harness::write_file(test_env::join(from, name), "root");
    const fs::path here = fs::current_path();
    fs::current_path(to);
    harness::FakeUi user;
    uint32_t flags = TARN_COPY_REPORT;
    EXPECT_EQ(koCopyFileEx(nullptr, test_env::join(from, name).c_str(), 0, "", kAll, &flags), 1);
    EXPECT_TRUE(copied().empty()) << "nothing lands in the current folder";
    if (fs::exists(atRoot)) {
        EXPECT_EQ(harness::read_file(atRoot), "root");
        EXPECT_TRUE(user.boxes.empty());
        fs::remove(atRoot);
    } else {
        EXPECT_EQ(shown(user), std::vector<std::string>{box(atRoot, "Datei nicht erstellbar.", kOkCancel)});
    }
    fs::current_path(here);
}

}  // namespace
