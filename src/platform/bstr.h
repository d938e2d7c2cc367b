// Automation strings: length-prefixed 16-bit text owned by the system allocator.
#pragma once
#include "tarn_types.h"

namespace plat {

BSTR sys_alloc_string(const char16_t *text);  // null text gives null
void sys_free_string(BSTR s);                 // null is ignored

}  // namespace plat
