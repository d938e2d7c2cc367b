// The tracked allocator: every block carries an 8-byte header (total size, system handle).
#include "export.h"
#include "lib/base_state.h"
#include "platform/memory.h"

#include <cstring>

namespace {
constexpr uint32_t kHeader = 8;
}

TARN_API void *TARN_CALL AllocGlobal(uint32_t size) {
    if (size > UINT32_MAX - kHeader) return nullptr;
    const uint32_t total = size + kHeader;
    uintptr_t handle = 0;
    unsigned char *base = static_cast<unsigned char *>(plat::global_alloc(total, &handle));
    if (!base) {
        plat::global_compact(total);
        base = static_cast<unsigned char *>(plat::global_alloc(total, &handle));
        if (!base) return nullptr;
    }
    const uint32_t header[2] = {total, static_cast<uint32_t>(handle)};
    std::memcpy(base, header, sizeof header);
    auto &f = tarn::base();
    f.memBytes += total;
    f.memBlocks += 1;
    return base + kHeader;
}

TARN_API void TARN_CALL FreeGlobal(void *block) {
    if (!block) return;
    unsigned char *base = static_cast<unsigned char *>(block) - kHeader;
    uint32_t total;
    std::memcpy(&total, base, sizeof total);
    auto &f = tarn::base();
    f.memBytes -= total;
    f.memBlocks -= 1;
    plat::global_free(base);
}

TARN_API uint32_t TARN_CALL GetGlobalUsage(uint32_t *blocks, uint32_t *bytes) {
    const auto &f = tarn::base();
    if (blocks) *blocks = f.memBlocks;
    if (bytes) *bytes = f.memBytes;
    return f.memBytes;
}
