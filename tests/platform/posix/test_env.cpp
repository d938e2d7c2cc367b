#include "test_env.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <thread>

#include "platform/profile.h"
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
bool system_is_wine() { return false; }
void set_env(const char *name, const char *value) {
    static std::map<std::string, std::optional<std::string>> first;
    if (!first.count(name))
        first[name] = std::getenv(name) ? std::optional<std::string>(std::getenv(name)) : std::nullopt;
    const std::optional<std::string> use = value ? std::optional<std::string>(value) : first[name];
    if (use) setenv(name, use->c_str(), 1);
    else unsetenv(name);
}

std::string test_printer() { return "PDF"; }

std::string command_output(const std::string &command) {
    std::string out;
    if (FILE *p = popen(command.c_str(), "r")) {
        char buf[4096];
        for (size_t n; (n = fread(buf, 1, sizeof buf, p)) > 0;) out.append(buf, n);
        pclose(p);
    }
    return out;
}
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

std::string self_command_line(const std::vector<std::string> &args) {
    std::string line = "\"" + self + "\"";
    for (const auto &a : args) line += " \"" + a + "\"";
    return line;
}

int wait_child(Child c) {
    int status = 0;
    if (c.id <= 0 || waitpid(pid_t(c.id), &status, 0) < 0) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void kill_child_hard(Child c) {
    if (c.id > 0) kill(pid_t(c.id), SIGKILL);
}

void sleep_ms(int ms) { usleep(useconds_t(ms) * 1000); }

unsigned long long process_memory_bytes() {
    unsigned long long pages = 0, resident = 0;
    std::ifstream statm("/proc/self/statm");
    return statm >> pages >> resident ? resident * (unsigned long long)sysconf(_SC_PAGESIZE) : 0;
}

bool set_time_zone(const char *tz) { return set_env("TZ", tz), tzset(), true; }

void set_temp_folder(const std::string &dir) { set_env("TMPDIR", dir.empty() ? nullptr : dir.c_str()); }

int32_t old_open(const std::string &path) { return ::open(path.c_str(), O_RDWR | O_CLOEXEC); }
void old_close(int32_t file) { ::close(file); }

void set_self_path(const char *argv0) {
    char buf[4096];
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    self = n > 0 ? std::string(buf, size_t(n)) : std::string(argv0);
}

bool abort_ends_quietly() { return true; }

bool with_registry_store_busy(int ms, const std::function<void(const std::atomic<bool> &)> &during) {
    sqlite3 *db = nullptr;
    const std::string file = plat::settings_home() + "/registry.sqlite3";
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK ||
        sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) != SQLITE_OK) {
        sqlite3_close(db);
        return false;
    }
    std::atomic<bool> released{false};
    std::thread holder([&] {
        sleep_ms(ms);
        released = true;
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_close(db);
    });
    during(released);
    holder.join();
    return true;
}

std::string registry_store_integrity() {
    const std::string file = plat::settings_home() + "/registry.sqlite3";
    const auto collect = [](void *out, int, char **cols, char **) {
        auto &s = *static_cast<std::string *>(out);
        return s += (s.empty() ? "" : "; ") + std::string(cols[0] ? cols[0] : ""), 0;
    };
    sqlite3 *db = nullptr;
    char *error = nullptr;
    std::string report;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
        report = "cannot open " + file + ": " + sqlite3_errmsg(db);
    else if (sqlite3_busy_timeout(db, 30000), sqlite3_exec(db, "PRAGMA integrity_check", collect, &report, &error))
        report = error ? error : "integrity_check failed";
    sqlite3_free(error);
    sqlite3_close(db);
    return report;
}

}  // namespace test_env

// The library's own INI engine stands in for the system's profile calls.
int test_profile_get(const char *section, const char *key, const char *def, char *out, int size, const char *file) {
    return plat::private_profile_string(section, key, def, out, size, file);
}
bool test_profile_write(const char *section, const char *key, const char *value, const char *file) {
    return plat::write_private_profile_string(section, key, value, file);
}
int32_t test_profile_int(const char *section, const char *key, int32_t def, const char *file) {
    return plat::private_profile_int(section, key, def, file);
}
