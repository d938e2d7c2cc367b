#include "platform/thread.h"

#include <windows.h>

#include <new>

#include "platform/syscall.h"

namespace plat {
namespace {

struct Start {
    void (*run)(void *);
    void *arg;
};

DWORD WINAPI trampoline(LPVOID p) {
    const Start s = *static_cast<Start *>(p);
    delete static_cast<Start *>(p);
    s.run(s.arg);
    return 0;
}

}  // namespace

bool start_thread(void (*run)(void *), void *arg) {
    if (fail_now(kCallCreateThread)) return false;
    auto *s = new (std::nothrow) Start{run, arg};
    if (!s) return false;
    HANDLE t = CreateThread(nullptr, 0, trampoline, s, 0, nullptr);
    if (!t) {
        delete s;
        return false;
    }
    CloseHandle(t);
    return true;
}

}  // namespace plat
