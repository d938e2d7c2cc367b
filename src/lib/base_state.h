// The process-wide state of the library's ground floor: the module it was loaded as, the tracked
// allocator's counters, the event-log source and the cached WOW64 answer.
#pragma once
#include <cstdint>
#include "tarngdi32.h"

namespace tarn {

struct BaseState {
    HINSTANCE instance = nullptr;
    uint32_t memBlocks = 0;
    uint32_t memBytes = 0;
    char eventSource[64] = "KELVO";
    int32_t wow64 = -1;  // -1 until the first Is_Wow64
};

BaseState &base();

// The library's module handle, as the loader or InitGdiLib gave it.
HINSTANCE module_instance();
void set_module_instance(HINSTANCE instance);

}  // namespace tarn
