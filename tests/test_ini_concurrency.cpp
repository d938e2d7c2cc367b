// Several processes writing one INI file at once lose nothing and never leave it torn.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>

#include "child_roles.h"
#include "harness.h"
#include "platform/profile_calls.h"

namespace {

constexpr int kWriters = 4, kKeysEach = 1000;

std::string distinct(int writer, int i) {
    return "w" + std::to_string(writer) + "k" + std::to_string(i) + "=" + std::to_string(writer * 100000 + i);
}
std::string shared_value(int writer, int i) { return "from " + std::to_string(writer) + " #" + std::to_string(i); }

// args: the INI file, the writer's number. Writes its own keys, and between them one shared key.
int ini_writer(const std::vector<std::string> &args) {
    if (args.size() != 2) return 2;
    const int id = std::stoi(args[1]);
    for (int i = 0; i < kKeysEach; ++i) {
        const std::string line = distinct(id, i), key = line.substr(0, line.find('='));
        if (!test_profile_write("Distinct", key.c_str(), line.substr(key.size() + 1).c_str(), args[0].c_str()) ||
            !test_profile_write("Shared", "Last", shared_value(id, i).c_str(), args[0].c_str()))
            return 1;
    }
    return 0;
}
TEST_CHILD_ROLE("ini-writer", ini_writer);

// args: the INI file, a log, the round; a key reaches the log only after its write returned success.
int ini_crash_writer(const std::vector<std::string> &args) {
    if (args.size() != 3) return 2;
    FILE *log = std::fopen(args[1].c_str(), "ab");
    if (!log) return 3;
    for (int i = 0;; ++i) {
        const std::string key = "r" + args[2] + "k" + std::to_string(i);
        if (!test_profile_write("Crash", key.c_str(), key.c_str(), args[0].c_str())) return 1;
        std::fprintf(log, "%s\n", key.c_str());
        std::fflush(log);
    }
}
TEST_CHILD_ROLE("ini-crash-writer", ini_crash_writer);

// The complete lines of `text` (a line cut off by a kill has no end and does not count).
std::vector<std::string> lines(const std::string &text, const std::string &end) {
    std::vector<std::string> out;
    for (size_t at = 0, e; (e = text.find(end, at)) != std::string::npos; at = e + end.size())
        out.push_back(text.substr(at, e - at));
    return out;
}

bool ends_with_line_end(const std::string &s) { return s.size() >= 2 && s.compare(s.size() - 2, 2, "\r\n") == 0; }

}  // namespace

// The file afterwards: the two sections, each distinct key exactly once with its own value, every
// line ended by CR LF, and the shared key holding the last value of some writer.
TEST(IniConcurrency, FourWritersLoseNoKey) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "Windows keeps INI files itself";
    const std::string file = test_env::join(test_env::temp_folder("ini_writers"), "shared.ini");
    std::vector<test_env::Child> children;
    for (int id = 0; id < kWriters; ++id)
        children.push_back(test_env::start_self({"--role", "ini-writer", file, std::to_string(id)}));
    for (const test_env::Child &child : children) EXPECT_EQ(harness::wait_child_for(child, 120000), 0);

    const std::string bytes = harness::read_file(file);
    ASSERT_TRUE(ends_with_line_end(bytes)) << "unterminated last line";
    std::vector<std::string> got = lines(bytes, "\r\n"), expected = {"[Distinct]", "[Shared]"};
    for (int id = 0; id < kWriters; ++id) {
        for (int i = 0; i < kKeysEach; ++i) expected.push_back(distinct(id, i));
        if (std::count(got.begin(), got.end(), "Last=" + shared_value(id, kKeysEach - 1)) == 1)
            expected.push_back("Last=" + shared_value(id, kKeysEach - 1));
    }
    std::sort(got.begin(), got.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(got == expected) << got.size() << " lines for " << expected.size() << " expected";
}

TEST(IniConcurrency, KilledWriterLosesNoReportedValue) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "Windows keeps INI files itself";
    const std::string dir = test_env::temp_folder("ini_crash");
    const std::string file = test_env::join(dir, "crash.ini"), log = test_env::join(dir, "written.log");
    std::mt19937 random(std::random_device{}());
    for (int round = 0; round < 20; ++round) {
        const size_t before = harness::read_file(log).size();
        const auto child = test_env::start_self({"--role", "ini-crash-writer", file, log, std::to_string(round)});
        ASSERT_GT(child.id, 0);
        // Killed while it writes, not while it starts.
        for (int waited = 0; harness::read_file(log).size() == before && waited < 10000; ++waited) test_env::sleep_ms(1);
        test_env::sleep_ms(int(random() % 15));
        test_env::kill_child_hard(child);
        harness::wait_child_for(child, 10000);
    }
    EXPECT_TRUE(ends_with_line_end(harness::read_file(file))) << "the file ends with a whole line";
    const std::vector<std::string> written = lines(harness::read_file(log), "\n");
    std::vector<std::string> lost;
    for (const std::string &key : written) {
        char value[64] = "";
        test_profile_get("Crash", key.c_str(), "", value, sizeof value, file.c_str());
        if (key != value) lost.push_back(key);
    }
    EXPECT_GE(written.size(), 20u);
    EXPECT_TRUE(lost.empty()) << lost.size() << " lost, the first " << lost.front();
}
