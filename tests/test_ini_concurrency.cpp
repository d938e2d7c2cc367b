// Several processes writing one INI file at once lose nothing and never leave it torn.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "child_roles.h"
#include "platform/profile_calls.h"
#include "platform/test_env.h"

namespace {

constexpr int kWriters = 4;
constexpr int kKeysEach = 1000;

std::string distinct_key(int writer, int i) {
    return "w" + std::to_string(writer) + "k" + std::to_string(i);
}
std::string distinct_value(int writer, int i) { return std::to_string(writer * 100000 + i); }
std::string shared_value(int writer, int i) {
    return "from " + std::to_string(writer) + " #" + std::to_string(i);
}

// args: the INI file, the writer's number.
int ini_writer(const std::vector<std::string> &args) {
    if (args.size() != 2) return 2;
    const char *file = args[0].c_str();
    const int id = std::stoi(args[1]);
    for (int i = 0; i < kKeysEach; ++i) {
        if (!test_profile_write("Distinct", distinct_key(id, i).c_str(),
                                distinct_value(id, i).c_str(), file) ||
            !test_profile_write("Shared", "Last", shared_value(id, i).c_str(), file))
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

bool read_bytes(const std::string &path, std::string *out) {
    FILE *f = std::fopen(path.c_str(), "rb");
    if (!f) return false;
    char chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) out->append(chunk, n);
    std::fclose(f);
    return true;
}

TEST(IniConcurrency, FourWritersLoseNoKey) {
    if (!test_env::library_keeps_settings())
        GTEST_SKIP() << "Windows keeps INI files itself; only the library's own engine is "
                        "tested for writers in several processes";
    const std::string file = test_env::join(test_env::temp_folder("ini_writers"), "shared.ini");

    std::vector<test_env::Child> children;
    for (int id = 0; id < kWriters; ++id) {
        const std::string number = std::to_string(id);
        children.push_back(test_env::start_self({"--role", "ini-writer", file, number}));
    }
    for (const test_env::Child &child : children) {
        ASSERT_GT(child.id, 0);
        EXPECT_EQ(test_env::wait_child(child), 0);
    }

    // The file as bytes: two sections, every line "name=value" ended by CR LF, each distinct
    // key exactly once with its own value.
    std::string bytes;
    ASSERT_TRUE(read_bytes(file, &bytes));
    std::set<std::string> expected;
    for (int id = 0; id < kWriters; ++id)
        for (int i = 0; i < kKeysEach; ++i)
            expected.insert(distinct_key(id, i) + "=" + distinct_value(id, i));
    std::set<std::string> seen;
    std::vector<std::string> headers;
    size_t at = 0;
    while (at < bytes.size()) {
        const size_t end = bytes.find("\r\n", at);
        ASSERT_NE(end, std::string::npos) << "unterminated last line";
        const std::string line = bytes.substr(at, end - at);
        at = end + 2;
        if (line.compare(0, 1, "[") == 0) {
            headers.push_back(line);
        } else if (line.compare(0, 5, "Last=") != 0) {
            EXPECT_EQ(expected.count(line), 1u) << line;
            EXPECT_TRUE(seen.insert(line).second) << "twice: " << line;
        }
    }
    EXPECT_EQ(seen.size(), expected.size());
    EXPECT_EQ(headers, (std::vector<std::string>{"[Distinct]", "[Shared]"}));

    // The shared key holds one of the values written last by some writer.
    char last[64];
    ASSERT_GT(test_profile_get("Shared", "Last", "", last, sizeof last, file.c_str()), 0);
    std::set<std::string> finals;
    for (int id = 0; id < kWriters; ++id) finals.insert(shared_value(id, kKeysEach - 1));
    EXPECT_EQ(finals.count(last), 1u) << last;
}

TEST(IniConcurrency, KilledWriterLosesNoReportedValue) {
    if (!test_env::library_keeps_settings())
        GTEST_SKIP() << "Windows keeps INI files itself; only the library's own engine is "
                        "tested against writers that are killed";
    const std::string dir = test_env::temp_folder("ini_crash");
    const std::string file = test_env::join(dir, "crash.ini");
    const std::string log = test_env::join(dir, "written.log");
    std::mt19937 random(std::random_device{}());
    auto log_size = [&] {
        std::string bytes;
        read_bytes(log, &bytes);
        return bytes.size();
    };
    for (int round = 0; round < 20; ++round) {
        const size_t before = log_size();
        const auto child = test_env::start_self({"--role", "ini-crash-writer", file, log, std::to_string(round)});
        ASSERT_GT(child.id, 0);
        // Killed while it writes, not while it starts.
        for (int waited = 0; log_size() == before && waited < 10000; ++waited) test_env::sleep_ms(1);
        test_env::sleep_ms(int(random() % 15));
        test_env::kill_child_hard(child);
        test_env::wait_child(child);
    }
    std::string logged, bytes;
    ASSERT_TRUE(read_bytes(log, &logged));
    ASSERT_TRUE(read_bytes(file, &bytes));
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(bytes.compare(bytes.size() - 2, 2, "\r\n"), 0) << "the file ends with a whole line";
    size_t keys = 0, at = 0;
    std::vector<std::string> lost;
    while (true) {
        const size_t end = logged.find('\n', at);
        if (end == std::string::npos) break;  // a line cut off by the kill does not count
        const std::string key = logged.substr(at, end - at);
        at = end + 1;
        ++keys;
        char value[64] = "";
        test_profile_get("Crash", key.c_str(), "", value, sizeof value, file.c_str());
        if (key != value) lost.push_back(key);
    }
    EXPECT_GE(keys, 20u);
    EXPECT_TRUE(lost.empty()) << lost.size() << " lost, the first " << lost.front();
}

}  // namespace
