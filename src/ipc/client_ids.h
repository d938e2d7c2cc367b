// The ids the server hands out at login.
#pragma once
#include <bitset>
#include <cstdint>
#include <mutex>

namespace tarn::ipc {

class ClientIds {
public:
    // The id for a login at `seconds` (the time): its low 16 bits, moved on past 0, 0xFFFF and
    // the ids of connections still open, so that clients logging in within one second differ.
    uint16_t acquire(uint32_t seconds);
    void release(uint16_t id);  // 0 is ignored

private:
    std::mutex lock_;
    std::bitset<65536> taken_;
};

}  // namespace tarn::ipc
