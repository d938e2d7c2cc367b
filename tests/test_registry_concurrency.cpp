// The library's registry store shared by several processes, and written by a process that is
// killed at random moments: no write reported as done may be lost, and the file stays intact.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <set>

#include "child_roles.h"
#include "harness.h"
#include "platform/registry.h"

namespace {

constexpr int kWriters = 4, kValuesEach = 1000, kKillRounds = 20;
const char *const kZent = "SOFTWARE\\KELVO GmbH\\ZENTcolor";

std::string run_tag(const std::string &stem) {
    return stem + std::to_string(std::chrono::system_clock::now().time_since_epoch().count() % 1000000007);
}

std::string spread_name(const std::string &tag, int writer, int i) {
    return tag + "-w" + std::to_string(writer) + "-" + std::to_string(i);
}

// "spread" TAG N: its own values, and between them one value that every writer writes.
// "crash" TAG LOG: values until killed; a name reaches the log only after its write returned success.
int reg_writer(const std::vector<std::string> &args) {
    if (args.size() != 3) return 100;
    if (args[0] == "spread") {
        const int writer = std::stoi(args[2]);
        for (int i = 0; i < kValuesEach; ++i) {
            const std::string name = spread_name(args[1], writer, i);
            if (!tarnSetZentKeyString(name.c_str(), name.c_str())) return 1;
            if (!tarnSetZentKeyDWORD((args[1] + "-shared").c_str(), DWORD(writer * 10000 + i))) return 2;
        }
        return 0;
    }
    FILE *f = std::fopen(args[2].c_str(), "ab");
    if (!f) return 3;
    for (int i = 0;; ++i) {
        const std::string name = args[1] + "-" + std::to_string(i);
        if (!tarnSetZentKeyString(name.c_str(), name.c_str())) return 4;
        std::fprintf(f, "%s\n", name.c_str());
        std::fflush(f);
    }
}
TEST_CHILD_ROLE("reg-writer", reg_writer);

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

TEST(RegistryConcurrency, WritersInSeveralProcessesLoseNothing) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "the system keeps the registry there";
    const std::string tag = run_tag("spread");
    std::vector<test_env::Child> writers;
    for (int w = 0; w < kWriters; ++w)
        writers.push_back(test_env::start_self({"--role", "reg-writer", "spread", tag, std::to_string(w)}));
    for (const auto &c : writers) EXPECT_EQ(harness::wait_child_for(c, 120000), 0);

    std::vector<std::string> names = {tag + "-shared"};
    DWORD shared = 0, missing = 0;
    for (int w = 0; w < kWriters; ++w)
        for (int i = 0; i < kValuesEach; ++i) names.push_back(spread_name(tag, w, i)), missing += !holds_own_name(names.back());
    EXPECT_EQ(missing, 0u);
    EXPECT_EQ(tarnGetZentKeyDWORD(names[0].c_str(), &shared), 1);
    EXPECT_LT(shared / 10000, DWORD(kWriters));
    EXPECT_EQ(shared % 10000, DWORD(kValuesEach - 1)) << "the last commit is some writer's last write";
    EXPECT_EQ(test_env::registry_store_integrity(), "ok");
    delete_values(names);
}

TEST(RegistryConcurrency, KilledWriterLosesNoReportedValue) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "the system keeps the registry there";
    const std::string tag = run_tag("crash");
    const std::string log = test_env::join(test_env::temp_folder("reg-crash"), "written.log");
    std::mt19937 random(std::random_device{}());
    for (int round = 0; round < kKillRounds; ++round) {
        const size_t before = harness::read_file(log).size();
        const auto c = test_env::start_self({"--role", "reg-writer", "crash", tag + "-" + std::to_string(round), log});
        ASSERT_NE(c.id, 0);
        // Kill it while it writes, not while it is still starting.
        for (int waited = 0; harness::read_file(log).size() == before && waited < 10000; ++waited) test_env::sleep_ms(1);
        test_env::sleep_ms(int(random() % 20));
        test_env::kill_child_hard(c);
        harness::wait_child_for(c, 10000);
    }
    EXPECT_EQ(test_env::registry_store_integrity(), "ok");

    // A line cut off by the kill has no line end and is not counted.
    const std::string all = harness::read_file(log);
    std::set<std::string> logged;
    std::vector<std::string> lost;
    for (size_t at = 0, end; (end = all.find('\n', at)) != std::string::npos; at = end + 1) {
        const std::string name = all.substr(at, end - at);
        logged.insert(name);
        if (!holds_own_name(name)) lost.push_back(name);
    }
    EXPECT_GE(logged.size(), size_t(kKillRounds));
    EXPECT_TRUE(lost.empty()) << lost.size() << " lost, the first " << lost.front();

    // A write may have landed just before the kill without reaching the log.
    std::vector<std::string> names;
    for (int round = 0; round < kKillRounds; ++round)
        for (int i = 0; i == 0 || logged.count(names.back()); ++i)
            names.push_back(tag + "-" + std::to_string(round) + "-" + std::to_string(i));
    delete_values(names);
    std::remove(log.c_str());
}
