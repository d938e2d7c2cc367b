#include "platform/process.h"

#include <windows.h>

#include <string>
#include <vector>

#include "platform/syscall.h"

namespace plat {

struct Process {
    HANDLE process, thread;
};

Process *start_process(const char *commandLine, const char *workDir) {
    if (!commandLine || fail_now(kCallCreateProcess)) return nullptr;
    // CreateProcessA may write into the command line it is given.
    std::vector<char> line(commandLine, commandLine + lstrlenA(commandLine) + 1);
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION info = {};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, workDir,
                        &startup, &info))
        return nullptr;
    return new Process{info.hProcess, info.hThread};
}

void wait_process(Process *p) {
    if (p) WaitForSingleObject(p->process, INFINITE);
}

void close_process(Process *p) {
    if (!p) return;
    CloseHandle(p->thread);
    CloseHandle(p->process);
    delete p;
}

}  // namespace plat
