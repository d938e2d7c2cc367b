#include "platform/fault.h"

#include <atomic>
#include <cstring>

#include "platform/last_error.h"

namespace plat {
namespace {

struct Fault {
    const char *name;
    std::atomic<int32_t> remaining{0};  // calls until the failing one; 0 disarmed
    int32_t error = 0;
};

Fault kFaults[kSysCallCount] = {
    {"CreateFile"}, {"ReadFile"}, {"WriteFile"}, {"SetFilePointer"},
    {"SetEndOfFile"}, {"CloseHandle"}, {"DeleteFile"}, {"CopyFile"},
};

}  // namespace

bool fault_now(SysCall call) {
    Fault &f = kFaults[call];
    int32_t n = f.remaining.load(std::memory_order_relaxed);
    if (n == 0) return false;  // the common case costs one load
    while (n > 0 && !f.remaining.compare_exchange_weak(n, n - 1)) {
    }
    if (n != 1) return false;
    set_last_error(uint32_t(f.error));
    return true;
}

bool set_fault(const char *name, int32_t nth, int32_t error) {
    for (Fault &f : kFaults) {
        if (!name || std::strcmp(f.name, name) != 0) continue;
        f.error = error;
        f.remaining.store(nth > 0 ? nth : 0);
        return true;
    }
    return false;
}

}  // namespace plat
