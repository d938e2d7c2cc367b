#include "test_env.h"

#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

extern char **environ;

namespace test_env {
namespace {
std::string &self() {
    static std::string s;
    return s;
}
std::string home() {
    const char *h = std::getenv("TARNGDI_HOME");
    return h && *h ? h : "/tmp/tarngdi32-test-home";
}
}  // namespace

bool library_keeps_settings() { return true; }

std::string program_folder() { return home() + "/program"; }

std::string temp_folder(const std::string &name) {
    const std::string dir = home() + "/tmp-" + name + "-" + std::to_string(getpid());
    const std::string cmd = "rm -rf '" + dir + "'";
    if (std::system(cmd.c_str()) != 0) return dir;
    mkdir(home().c_str(), 0700);
    mkdir(dir.c_str(), 0700);
    return dir;
}

std::string join(const std::string &a, const std::string &b) { return a + "/" + b; }

Child start_self(const std::vector<std::string> &args) {
    std::vector<char *> argv;
    argv.push_back(const_cast<char *>(self().c_str()));
    for (const auto &a : args) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, self().c_str(), nullptr, nullptr, argv.data(), environ) != 0) return {};
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

void sleep_ms(int ms) {
    struct timespec ts = {ms / 1000, long(ms % 1000) * 1000000L};
    nanosleep(&ts, nullptr);
}

unsigned long long process_memory_bytes() {
    unsigned long long pages = 0, resident = 0;
    FILE *f = std::fopen("/proc/self/statm", "r");
    if (!f) return 0;
    const int n = std::fscanf(f, "%llu %llu", &pages, &resident);
    std::fclose(f);
    return n == 2 ? resident * (unsigned long long)sysconf(_SC_PAGESIZE) : 0;
}

bool set_time_zone(const char *tz) {
    // TZ as it was before the first change: whether it was set, and to what.
    static bool changed = false, was_set = false;
    static std::string previous;
    if (tz != nullptr) {
        if (!changed) {
            const char *now = std::getenv("TZ");
            was_set = now != nullptr;
            previous = now != nullptr ? now : "";
            changed = true;
        }
        setenv("TZ", tz, 1);
    } else if (changed) {
        if (was_set) {
            setenv("TZ", previous.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        changed = false;
    }
    tzset();
    return true;
}

void set_self_path(const char *argv0) {
    char buf[4096];
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    self() = n > 0 ? std::string(buf, size_t(n)) : std::string(argv0);
}

bool abort_ends_quietly() { return true; }

}  // namespace test_env
