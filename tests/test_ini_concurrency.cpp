// The settings stores shared by several processes: INI files and the library's registry store.
// Writers at once lose nothing, and a writer killed at random moments loses no write it reported
// as done and leaves no torn file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <set>

#include "child_roles.h"
#include "harness.h"
#include "platform/registry.h"

namespace {

constexpr int kWriters = 4, kEach = 1000, kKillRounds = 20;
const char *const kZent = "SOFTWARE\\KELVO GmbH\\ZENTcolor";

std::string key_of(int writer, int i) { return "w" + std::to_string(writer) + "k" + std::to_string(i); }
std::string value_of(int writer, int i) { return std::to_string(writer * 100000 + i); }
// Names made by this run, so that values left by an earlier run cannot make a test pass.
std::string run_tag(const std::string &stem) { return stem + std::to_string(std::random_device{}()); }

// args: the INI file, the writer's number. Writes its own keys, and between them one shared key.
int ini_writer(const std::vector<std::string> &args) {
    const int id = std::stoi(args.at(1));
    for (int i = 0; i < kEach; ++i)
        if (!test_profile_write("Distinct", key_of(id, i).c_str(), value_of(id, i).c_str(), args[0].c_str()) ||
            !test_profile_write("Shared", "Last", value_of(id, i).c_str(), args[0].c_str()))
            return 1;
    return 0;
}
TEST_CHILD_ROLE("ini-writer", ini_writer);

// args: the tag, the writer's number. Its own values, and between them one value every writer writes.
int reg_writer(const std::vector<std::string> &args) {
    const int id = std::stoi(args.at(1));
    for (int i = 0; i < kEach; ++i) {
        const std::string name = args[0] + key_of(id, i);
        if (!tarnSetZentKeyString(name.c_str(), name.c_str()) ||
            !tarnSetZentKeyDWORD((args[0] + "-shared").c_str(), DWORD(id * 100000 + i)))
            return 1;
    }
    return 0;
}
TEST_CHILD_ROLE("reg-writer", reg_writer);

// args: the log, the names' prefix, and the INI file or none for the registry store. Writes until
// killed; a name reaches the log only after its write returned success.
int crash_writer(const std::vector<std::string> &args) {
    FILE *log = std::fopen(args.at(0).c_str(), "ab");
    if (!log) return 3;
    for (int i = 0;; ++i) {
        const std::string name = args.at(1) + "-" + std::to_string(i);
        if (!(args.size() > 2 ? test_profile_write("Crash", name.c_str(), name.c_str(), args[2].c_str())
                              : tarnSetZentKeyString(name.c_str(), name.c_str())))
            return 1;
        std::fprintf(log, "%s\n", name.c_str());
        std::fflush(log);
    }
}
TEST_CHILD_ROLE("crash-writer", crash_writer);

// The complete lines of `text` (a line cut off by a kill has no end and does not count).
std::vector<std::string> lines(const std::string &text, const std::string &end) {
    std::vector<std::string> out;
    for (size_t at = 0, e; (e = text.find(end, at)) != std::string::npos; at = e + end.size())
        out.push_back(text.substr(at, e - at));
    return out;
}

bool ends_with_line_end(const std::string &s) { return s.size() >= 2 && s.compare(s.size() - 2, 2, "\r\n") == 0; }

// Runs crash writers one after the other, each killed hard a random few milliseconds after its
// first name reached the log (killed while it writes, not while it starts): the names logged.
std::vector<std::string> kill_writers(const std::string &log, const std::string &prefix, const std::string &ini = "") {
    std::mt19937 random(std::random_device{}());
    for (int round = 0; round < kKillRounds; ++round) {
        const size_t before = harness::read_file(log).size();
        std::vector<std::string> args = {"--role", "crash-writer", log, prefix + std::to_string(round)};
        if (!ini.empty()) args.push_back(ini);
        const test_env::Child child = test_env::start_self(args);
        EXPECT_NE(child.id, 0);
        for (int waited = 0; harness::read_file(log).size() == before && waited < 10000; ++waited)
            test_env::sleep_ms(1);
        test_env::sleep_ms(int(random() % 20));
        test_env::kill_child_hard(child);
        harness::wait_child_for(child, 10000);
    }
    return lines(harness::read_file(log), "\n");
}

bool holds_own_name(const std::string &name) {
    char buf[96] = "";
    return tarnGetZentKeyString(name.c_str(), buf, sizeof buf) && name == buf;
}

void delete_values(const std::vector<std::string> &names) {
    HKEY key = nullptr;
    if (plat::reg_open(HKEY_LOCAL_MACHINE, kZent, true, false, &key) != plat::kErrorSuccess) return;
    for (const auto &n : names) plat::reg_delete_value(key, n.c_str());
    plat::reg_close(key);
}

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
        for (int i = 0; i < kEach; ++i) expected.push_back(key_of(id, i) + "=" + value_of(id, i));
        const std::string last = "Last=" + value_of(id, kEach - 1);
        if (std::count(got.begin(), got.end(), last) == 1) expected.push_back(last);
    }
    std::sort(got.begin(), got.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(got == expected) << got.size() << " lines for " << expected.size() << " expected";
}

TEST(IniConcurrency, KilledWriterLosesNoReportedValue) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "Windows keeps INI files itself";
    const std::string dir = test_env::temp_folder("ini_crash"), file = test_env::join(dir, "crash.ini");
    const std::vector<std::string> written = kill_writers(test_env::join(dir, "written.log"), "r", file);
    EXPECT_TRUE(ends_with_line_end(harness::read_file(file))) << "the file ends with a whole line";
    std::vector<std::string> lost;
    for (const std::string &key : written) {
        char value[64] = "";
        test_profile_get("Crash", key.c_str(), "", value, sizeof value, file.c_str());
        if (key != value) lost.push_back(key);
    }
    EXPECT_GE(written.size(), size_t(kKillRounds));
    EXPECT_TRUE(lost.empty()) << lost.size() << " lost, the first " << lost.front();
}

TEST(RegistryConcurrency, WritersInSeveralProcessesLoseNothing) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "the system keeps the registry there";
    const std::string tag = run_tag("spread");
    std::vector<test_env::Child> writers;
    for (int w = 0; w < kWriters; ++w)
        writers.push_back(test_env::start_self({"--role", "reg-writer", tag, std::to_string(w)}));
    for (const auto &c : writers) EXPECT_EQ(harness::wait_child_for(c, 120000), 0);

    std::vector<std::string> names = {tag + "-shared"};
    DWORD shared = 0, missing = 0;
    for (int w = 0; w < kWriters; ++w)
        for (int i = 0; i < kEach; ++i) names.push_back(tag + key_of(w, i)), missing += !holds_own_name(names.back());
    EXPECT_EQ(missing, 0u);
    EXPECT_EQ(tarnGetZentKeyDWORD(names[0].c_str(), &shared), 1);
    EXPECT_TRUE(shared / 100000 < DWORD(kWriters) && shared % 100000 == DWORD(kEach - 1))
        << "not some writer's last write: " << shared;
    EXPECT_EQ(test_env::registry_store_integrity(), "ok");
    delete_values(names);
}

TEST(RegistryConcurrency, KilledWriterLosesNoReportedValue) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "the system keeps the registry there";
    const std::string tag = run_tag("crash"), log = test_env::join(test_env::temp_folder("reg-crash"), "written.log");
    const std::vector<std::string> written = kill_writers(log, tag + "-");
    EXPECT_EQ(test_env::registry_store_integrity(), "ok");
    std::vector<std::string> lost;
    for (const std::string &name : written)
        if (!holds_own_name(name)) lost.push_back(name);
    EXPECT_GE(written.size(), size_t(kKillRounds));
    EXPECT_TRUE(lost.empty()) << lost.size() << " lost, the first " << lost.front();

    // A write may have landed just before the kill without reaching the log.
    const std::set<std::string> logged(written.begin(), written.end());
    std::vector<std::string> names;
    for (int round = 0; round < kKillRounds; ++round)
        for (int i = 0; i == 0 || logged.count(names.back()); ++i)
            names.push_back(tag + "-" + std::to_string(round) + "-" + std::to_string(i));
    delete_values(names);
    std::remove(log.c_str());
}
