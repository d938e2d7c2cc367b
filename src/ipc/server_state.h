// The request server's process-wide state, and the log procedure the whole service reports to.
#pragma once
#include <atomic>
#include <cstdint>

#include "ipc/client_ids.h"
#include "platform/net.h"
#include "tarngdi32.h"

namespace tarn::ipc {

struct ServerState {
    std::atomic<koRequestHandler> handler{nullptr};
    std::atomic<koLogProc> log{nullptr};
    uint16_t port = 0;
    char computerName[261] = "";
    std::atomic<plat::Socket> listener{plat::kNoSocket};
    // Counted from every connection thread at once; atomic so the count stays exact.
    std::atomic<int32_t> active{0};
    uint32_t spare = 10;
    // Set once, never cleared for the life of the process.
    std::atomic<int32_t> shutdown{0};
    ClientIds ids;  // ids of the connections logged in now
};

ServerState &server();

constexpr uint32_t kLogProgress = 9000;
constexpr uint32_t kLogSocket = 9001;
constexpr uint32_t kLogConnection = 9002;
constexpr uint32_t kLogRequest = 9004;
constexpr uint32_t kLogClientEvent = 0x01000000;

// Hands (code, text, flag) to the log procedure, if there is one.
void report(uint32_t code, const char *text, uint32_t flag = 0);
// Reports `call` followed by the name of the thread's last socket error (code 9001).
void report_socket_error(const char *call);
// The suffix for a WSA error number: "==WSAEINTR", ..., "==?".
const char *socket_error_suffix(int error);

// Sets the shutdown flag as a client's request 30 or 31 does.
void shut_down_by_client();

}  // namespace tarn::ipc
