#include "ipc/client_ids.h"

namespace tarn::ipc {

uint16_t ClientIds::acquire(uint32_t seconds) {
    std::lock_guard<std::mutex> hold(lock_);
    uint16_t id = uint16_t(seconds);
    // Ids still in use are skipped: clients logging in within the same second must be told apart.
    // 65534 usable ids: with every one of them taken the time's own id is shared.
    for (int tries = 0; tries < 65536; ++tries, ++id) {
        if (id == 0 || id == 0xFFFF || taken_[id]) continue;
        taken_[id] = true;
        return id;
    }
    return uint16_t(seconds) == 0 || uint16_t(seconds) == 0xFFFF ? 1 : uint16_t(seconds);
}

void ClientIds::release(uint16_t id) {
    if (id == 0) return;
    std::lock_guard<std::mutex> hold(lock_);
    taken_[id] = false;
}

}  // namespace tarn::ipc
