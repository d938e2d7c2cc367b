#include "platform/thread.h"

#include <pthread.h>

#include <new>

#include "platform/syscall.h"

namespace plat {
namespace {

struct Start {
    void (*run)(void *);
    void *arg;
};

void *trampoline(void *p) {
    const Start s = *static_cast<Start *>(p);
    delete static_cast<Start *>(p);
    s.run(s.arg);
    return nullptr;
}

}  // namespace

bool start_thread(void (*run)(void *), void *arg) {
    if (fail_now(kCallCreateThread)) return false;
    auto *s = new (std::nothrow) Start{run, arg};
    if (!s) return false;
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
    pthread_t t;
    const bool ok = pthread_create(&t, &attr, trampoline, s) == 0;
    pthread_attr_destroy(&attr);
    if (!ok) delete s;
    return ok;
}

}  // namespace plat
