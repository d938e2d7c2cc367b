// INI files and the library's registry store shared by processes: writers at once lose nothing, and
// a writer killed at random moments loses no write it reported as done and leaves no torn file.
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

// Writes to the INI file args[2] or, where that is empty, to the registry store.
bool put(const std::vector<std::string> &args, const char *section, const std::string &name, const std::string &value) {
    return args.at(2).empty() ? tarnSetZentKeyString(name.c_str(), value.c_str()) != 0
                              : test_profile_write(section, name.c_str(), value.c_str(), args[2].c_str());
}

// args: the writer's number, the names' prefix, the store. Its own names, and between them one
// name every writer writes.
int writer(const std::vector<std::string> &args) {
    const int id = std::stoi(args.at(0));
    for (int i = 0; i < kEach; ++i)
        if (!put(args, "Distinct", args[1] + key_of(id, i), value_of(id, i)) ||
            !put(args, "Shared", args[1] + "Last", value_of(id, i)))
            return 1;
    return 0;
}
TEST_CHILD_ROLE("writer", writer);

// args: the log, the names' prefix, the store. Logs each name after its write returned success,
// until killed.
int crash_writer(const std::vector<std::string> &args) {
    FILE *log = std::fopen(args.at(0).c_str(), "ab");
    if (!log) return 3;
    for (int i = 0;; ++i) {
        const std::string name = args.at(1) + "-" + std::to_string(i);
        if (!put(args, "Crash", name, name)) return 1;
        std::fprintf(log, "%s\n", name.c_str());
        std::fflush(log);
    }
}
TEST_CHILD_ROLE("crash-writer", crash_writer);

// Four writers at once into the INI file `ini`, or where that is empty into the registry store.
void run_writers(const std::string &prefix, const std::string &ini) {
    std::vector<test_env::Child> children;
    for (int id = 0; id < kWriters; ++id)
        children.push_back(test_env::start_self({"--role", "writer", std::to_string(id), prefix, ini}));
    for (const test_env::Child &child : children) EXPECT_EQ(harness::wait_child_for(child, 120000), 0);
}

// The complete lines of `text` (a line cut off by a kill has no end and does not count).
std::vector<std::string> lines(const std::string &text, const std::string &end) {
    std::vector<std::string> out;
    for (size_t at = 0, e; (e = text.find(end, at)) != std::string::npos; at = e + end.size())
        out.push_back(text.substr(at, e - at));
    return out;
}

bool ends_with_line_end(const std::string &s) { return s.size() >= 2 && s.compare(s.size() - 2, 2, "\r\n") == 0; }

// What section Crash of the INI file `ini`, or where that is empty the registry store, holds.
std::string stored(const std::string &ini, const std::string &name) {
    char buf[96] = "";
    if (ini.empty()) tarnGetZentKeyString(name.c_str(), buf, sizeof buf);
    else test_profile_get("Crash", name.c_str(), "", buf, sizeof buf, ini.c_str());
    return buf;
}

// Crash writers one after the other, each killed hard a random few milliseconds after it first
// logged (while it writes, not while it starts): the names logged, every one of them kept.
std::vector<std::string> kill_writers(const std::string &log, const std::string &prefix, const std::string &ini) {
    std::mt19937 random(std::random_device{}());
    for (int round = 0; round < kKillRounds; ++round) {
        const size_t before = harness::read_file(log).size();
        const test_env::Child child =
            test_env::start_self({"--role", "crash-writer", log, prefix + std::to_string(round), ini});
        EXPECT_NE(child.id, 0);
        for (int waited = 0; harness::read_file(log).size() == before && waited < 10000; ++waited)
            test_env::sleep_ms(1);
        test_env::sleep_ms(int(random() % 20));
        test_env::kill_child_hard(child);
        harness::wait_child_for(child, 10000);
        // A line the kill cut off names no finished report; the next writer starts a line of its own.
        const std::string text = harness::read_file(log);
        if (!text.empty() && text.back() != '\n') harness::write_file(log, text.substr(0, text.rfind('\n') + 1));
    }
    const std::vector<std::string> written = lines(harness::read_file(log), "\n");
    std::vector<std::string> lost;
    for (const std::string &name : written)
        if (stored(ini, name) != name) lost.push_back(name);
    EXPECT_GE(written.size(), size_t(kKillRounds));
    EXPECT_TRUE(lost.empty()) << lost.size() << " lost, the first " << lost.front();
    return written;
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
    run_writers("", file);

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
    kill_writers(test_env::join(dir, "written.log"), "r", file);
    EXPECT_TRUE(ends_with_line_end(harness::read_file(file))) << "the file ends with a whole line";
}

// A disk that fills up while the new file is written, or a new file that cannot take the old one's
// place, fails the write and leaves the old file as it was, without a new file beside it.
TEST(IniConcurrency, AFailedWriteLeavesTheOldFileWhole) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "Windows keeps INI files itself";
    const std::string file = test_env::join(test_env::temp_folder("ini_full"), "full.ini"), old = "[A]\r\nk=v\r\n";
    harness::write_file(file, old);
    for (const char *call : {"WriteFile", "MoveFile", "CreateFile"}) {
        harness::Fault fault(call, 1, harness::kDiskFull);
        EXPECT_FALSE(test_profile_write("A", "k2", std::string(100000, 'x').c_str(), file.c_str())) << call;
        fault.disarm();
        EXPECT_EQ(harness::read_file(file), old) << call;
        EXPECT_FALSE(harness::file_exists(file + ".tmp")) << call;
    }
    EXPECT_TRUE(test_profile_write("A", "k2", "v2", file.c_str()));
    EXPECT_EQ(harness::read_file(file), "[A]\r\nk=v\r\nk2=v2\r\n");
}

TEST(RegistryConcurrency, WritersInSeveralProcessesLoseNothing) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "the system keeps the registry there";
    const std::string tag = run_tag("spread");
    run_writers(tag, "");
    std::vector<std::string> names = {tag + "Last"};
    int missing = 0, lastOf = 0;
    for (int w = 0; w < kWriters; ++w) {
        lastOf += stored("", names[0]) == value_of(w, kEach - 1);
        for (int i = 0; i < kEach; ++i)
            names.push_back(tag + key_of(w, i)), missing += stored("", names.back()) != value_of(w, i);
    }
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(lastOf, 1) << "the shared name holds the last write of some writer";
    EXPECT_EQ(test_env::registry_store_integrity(), "ok");
    delete_values(names);
}

TEST(RegistryConcurrency, KilledWriterLosesNoReportedValue) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "the system keeps the registry there";
    const std::string tag = run_tag("crash"), log = test_env::join(test_env::temp_folder("reg-crash"), "written.log");
    const std::vector<std::string> written = kill_writers(log, tag + "-", "");
    EXPECT_EQ(test_env::registry_store_integrity(), "ok");

    // A write may have landed just before the kill without reaching the log.
    const std::set<std::string> logged(written.begin(), written.end());
    std::vector<std::string> names;
    for (int round = 0; round < kKillRounds; ++round)
        for (int i = 0; i == 0 || logged.count(names.back()); ++i)
            names.push_back(tag + "-" + std::to_string(round) + "-" + std::to_string(i));
    delete_values(names);
    std::remove(log.c_str());
}
