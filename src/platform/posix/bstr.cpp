// BSTR as the automation runtime lays it out: a 32-bit byte count, the units, a NUL unit.
#include "platform/bstr.h"

#include <cstdlib>
#include <cstring>

namespace plat {

BSTR sys_alloc_string(const char16_t *text) {
    if (!text) return nullptr;
    size_t n = 0;
    while (text[n]) ++n;
    const uint32_t bytes = uint32_t(n * sizeof(char16_t));
    auto *block = static_cast<unsigned char *>(std::malloc(sizeof(uint32_t) + bytes + 2));
    if (!block) return nullptr;
    std::memcpy(block, &bytes, sizeof bytes);
    std::memcpy(block + sizeof bytes, text, bytes);
    std::memset(block + sizeof bytes + bytes, 0, 2);
    return reinterpret_cast<BSTR>(block + sizeof bytes);
}

void sys_free_string(BSTR s) {
    if (s) std::free(reinterpret_cast<unsigned char *>(s) - sizeof(uint32_t));
}

}  // namespace plat
