#include "platform/process.h"

#include <errno.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/last_error.h"
#include "platform/syscall.h"

extern char **environ;

namespace plat {

struct Process {
    pid_t pid;
    bool reaped;
};

namespace {

// Characters that only a shell gives a meaning to.
bool needs_shell(const char *line) { return std::strpbrk(line, "|&;<>()$`\n*?~") != nullptr; }

// The rules of Windows programs' argument splitting: blanks and tabs separate arguments,
// double quotes group, backslashes are literal unless they precede a quote, where 2n
// backslashes give n and a quote mark, 2n + 1 give n and a literal quote.
std::vector<std::string> split_arguments(const char *line) {
    std::vector<std::string> args;
    const char *p = line;
    for (;;) {
        while (*p == ' ' || *p == '\t') ++p;
        if (!*p) return args;
        std::string arg;
        bool quoted = false;
        while (*p && (quoted || (*p != ' ' && *p != '\t'))) {
            size_t slashes = 0;
            while (*p == '\\') ++slashes, ++p;
            if (*p == '"') {
                arg.append(slashes / 2, '\\');
                if (slashes % 2) {
                    arg += '"';
                } else if (quoted && p[1] == '"') {
                    arg += '"';  // "" inside quotes is a quote mark
                    ++p;
                } else {
                    quoted = !quoted;
                }
                ++p;
            } else {
                arg.append(slashes, '\\');
                if (*p && (quoted || (*p != ' ' && *p != '\t'))) arg += *p++;
            }
        }
        args.push_back(arg);
    }
}

}  // namespace

Process *start_process(const char *commandLine, const char *workDir) {
    if (!commandLine || fail_now(kCallCreateProcess)) return nullptr;
    std::vector<std::string> args;
    if (needs_shell(commandLine)) args = {"/bin/sh", "-c", commandLine};
    else args = split_arguments(commandLine);
    if (args.empty()) {
        set_last_error(2);  // ERROR_FILE_NOT_FOUND: no program named
        return nullptr;
    }
    std::vector<char *> argv;
    for (std::string &a : args) argv.push_back(&a[0]);
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    std::string dir;
    if (workDir && *workDir) {
        dir = workDir;
        for (char &c : dir)
            if (c == '\\') c = '/';
        posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
    }
    pid_t pid = 0;
    const int r = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (r != 0) {
        set_last_error(r == ENOENT ? 2 : r == EACCES ? 5 : 1);
        return nullptr;
    }
    return new Process{pid, false};
}

void wait_process(Process *p) {
    if (!p || p->reaped) return;
    int status = 0;
    while (waitpid(p->pid, &status, 0) < 0 && errno == EINTR) {
    }
    p->reaped = true;
}

// A program still running is reaped by a thread of its own when it ends: no zombie is left.
void close_process(Process *p) {
    if (!p) return;
    if (!p->reaped) {
        const pid_t pid = p->pid;
        std::thread([pid] {
            int status = 0;
            while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
        }).detach();
    }
    delete p;
}

}  // namespace plat
