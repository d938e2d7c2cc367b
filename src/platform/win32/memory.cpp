#include "platform/memory.h"
#include "platform/syscall.h"

#include <windows.h>

namespace plat {

void *global_alloc(size_t bytes, uintptr_t *handle) {
    if (fail_now(kCallGlobalAlloc)) return nullptr;
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    if (!h) return nullptr;
    void *p = GlobalLock(h);
    if (!p) {
        GlobalFree(h);
        return nullptr;
    }
    *handle = reinterpret_cast<uintptr_t>(h);
    return p;
}

void *heap_alloc(size_t bytes) {
    if (fail_now(kCallHeapAlloc)) return nullptr;
    void *block = HeapAlloc(GetProcessHeap(), 0, bytes);
    if (!block) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return block;
}

void heap_free(void *block) {
    if (block) HeapFree(GetProcessHeap(), 0, block);
}

void global_compact(size_t bytes) { GlobalCompact(DWORD(bytes)); }

void global_free(void *base) {
    // The handle is found again from the locked address, so headers need not hold all 64 bits.
    HGLOBAL h = GlobalHandle(base);
    if (!h) return;
    GlobalUnlock(h);
    GlobalFree(h);
}

}  // namespace plat
