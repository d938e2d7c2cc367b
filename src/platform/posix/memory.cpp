#include "platform/memory.h"
#include "platform/last_error.h"
#include "platform/syscall.h"

#include <cstdlib>
#if defined(__GLIBC__)
#  include <malloc.h>
#endif

namespace plat {

void *global_alloc(size_t bytes, uintptr_t *handle) {
    if (fail_now(kCallGlobalAlloc)) return nullptr;
    void *p = std::calloc(1, bytes);
    *handle = reinterpret_cast<uintptr_t>(p);
    return p;
}

void *heap_alloc(size_t bytes) {
    if (fail_now(kCallHeapAlloc)) return nullptr;
    void *block = std::malloc(bytes);
    if (!block) set_last_error(8);  // ERROR_NOT_ENOUGH_MEMORY
    return block;
}

void heap_free(void *block) { std::free(block); }

void global_compact(size_t) {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

void global_free(void *base) { std::free(base); }

}  // namespace plat
