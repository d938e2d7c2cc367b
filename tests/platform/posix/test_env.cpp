#include "test_env.h"

#include <signal.h>
#include <sqlite3.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "platform/system.h"

extern char **environ;

namespace test_env {
namespace {
std::string self;
std::string home() {
    const char *h = std::getenv("TARNGDI_HOME");
    return h && *h ? h : "/tmp/tarngdi32-test-home";
}
}  // namespace

bool library_keeps_settings() { return true; }
std::string program_folder() { return home() + "/program"; }
std::string join(const std::string &a, const std::string &b) { return a + "/" + b; }

std::string temp_folder(const std::string &name) {
    const std::string dir = home() + "/tmp-" + name + "-" + std::to_string(getpid());
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
    mkdir(home().c_str(), 0700);
    mkdir(dir.c_str(), 0700);
    return dir;
}

Child start_self(const std::vector<std::string> &args) {
    std::vector<char *> argv{const_cast<char *>(self.c_str())};
    for (const auto &a : args) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, self.c_str(), nullptr, nullptr, argv.data(), environ) != 0) return {};
    return Child{pid};
}

int wait_child(Child c) {
    int status = 0;
    if (c.id <= 0 || waitpid(pid_t(c.id), &status, 0) < 0) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void kill_child_hard(Child c) {
    if (c.id > 0) kill(pid_t(c.id), SIGKILL);
}

void sleep_ms(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

unsigned long long process_memory_bytes() {
    unsigned long long pages = 0, resident = 0;
    FILE *f = std::fopen("/proc/self/statm", "r");
    if (!f) return 0;
    const int n = std::fscanf(f, "%llu %llu", &pages, &resident);
    std::fclose(f);
    return n == 2 ? resident * (unsigned long long)sysconf(_SC_PAGESIZE) : 0;
}

bool set_time_zone(const char *tz) {
    static const char *const before = [] {  // TZ as the process had it before the first change
        const char *t = std::getenv("TZ");
        return t ? strdup(t) : nullptr;
    }();
    if (tz)
        setenv("TZ", tz, 1);
    else if (before)
        setenv("TZ", before, 1);
    else
        unsetenv("TZ");
    tzset();
    return true;
}

void set_self_path(const char *argv0) {
    char buf[4096];
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    self = n > 0 ? std::string(buf, size_t(n)) : std::string(argv0);
}

bool abort_ends_quietly() { return true; }

std::string registry_store_integrity() {
    const std::string file = plat::settings_home() + "/registry.sqlite3";
    sqlite3 *db = nullptr;
    std::string report;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        report = db ? sqlite3_errmsg(db) : "cannot open " + file;
    } else {
        sqlite3_busy_timeout(db, 30000);
        char *error = nullptr;
        const auto collect = [](void *out, int, char **cols, char **) {
            auto &s = *static_cast<std::string *>(out);
            return s += (s.empty() ? "" : "; ") + std::string(cols[0] ? cols[0] : ""), 0;
        };
        if (sqlite3_exec(db, "PRAGMA integrity_check", collect, &report, &error) != SQLITE_OK)
            report = error ? error : "integrity_check failed";
        sqlite3_free(error);
    }
    sqlite3_close(db);
    return report;
}

}  // namespace test_env
