#include "platform/syscall.h"

#include <atomic>
#include <cstdint>
#include <cstring>

namespace plat {
namespace {

struct Entry {
    const char *name;
    FailKind kind;
    std::atomic<int32_t> countdown{0};  // calls until the failing one; 0 disarmed
    std::atomic<bool> persistent{false};
    std::atomic<int32_t> error{0};
};

Entry gTable[kSysCallCount] = {
#define TARN_SYSCALL_ENTRY(name, kind) {#name, FailKind::kind},
    TARN_SYSCALLS(TARN_SYSCALL_ENTRY)
#undef TARN_SYSCALL_ENTRY
};

}  // namespace

bool fail_now(SysCall call) {
    Entry &e = gTable[call];
    int32_t n = e.countdown.load(std::memory_order_relaxed);
    if (n == 0) return false;  // the common case costs one load
    if (n == 1 && e.persistent.load()) {
        report_failure(e.kind, e.error.load());
        return true;
    }
    while (n > 0 && !e.countdown.compare_exchange_weak(n, n - 1)) {}
    if (n != 1) return false;
    if (e.persistent.load()) e.countdown.store(1);  // from now on every call fails
    report_failure(e.kind, e.error.load());
    return true;
}

int32_t armed_error(SysCall call) { return gTable[call].error.load(); }

bool arm_syscall(const char *name, int32_t nth, int32_t error) {
    if (!name) {
        for (Entry &e : gTable) e.countdown.store(0);
        return true;
    }
    for (Entry &e : gTable) {
        if (std::strcmp(e.name, name) != 0) continue;
        e.countdown.store(0);
        e.error.store(error);
        e.persistent.store(nth < 0);
        e.countdown.store(nth >= 0 ? nth : nth == INT32_MIN ? INT32_MAX : -nth);
        return true;
    }
    return false;
}

}  // namespace plat
