// Global memory: moveable, zero-filled system blocks behind the tracked allocator.
#pragma once
#include <cstddef>
#include <cstdint>

namespace plat {

// Allocates a zero-filled block of `bytes` and locks it; null when the system has no memory.
// `handle` receives the system's handle of the object (its low 32 bits go into block headers).
void *global_alloc(size_t bytes, uintptr_t *handle);
// Compacts the global heap before a second attempt of `bytes`.
void global_compact(size_t bytes);
// Unlocks and frees a block returned by global_alloc, given its locked address.
void global_free(void *base);

// A plain block from the process heap (not zero-filled, not tracked); null when there is no
// memory. For the library's own pools, which come and go with their owners.
void *heap_alloc(size_t bytes);
void heap_free(void *block);  // null is ignored

}  // namespace plat
