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

}  // namespace plat
