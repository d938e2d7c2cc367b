// The request server's process-wide state, and the log procedure the whole service reports to.
#pragma once
#include <atomic>
#include <cstdint>
#include <mutex>

#include "ipc/client_ids.h"
#include "platform/net.h"
#include "tarngdi32.h"

namespace tarn::ipc {

// The server's listening socket together with the number of times it was replaced, so that an
// acceptor can tell the socket it waited on from a later one that got the same number.
class Listener {
public:
    struct Seen {
        plat::Socket socket;
        uint32_t generation;
    };
    Seen current();
    // True while `seen` is still the server's listener (and not kNoSocket).
    bool is_current(const Seen &seen);
    // Installs a new listening socket and answers what an acceptor of it waits on.
    Seen install(plat::Socket s);
    // Takes the socket away (kNoSocket if there was none); acceptors of it then give up.
    plat::Socket take();

private:
    std::mutex lock_;
    plat::Socket socket_ = plat::kNoSocket;
    uint32_t generation_ = 0;
};

struct ServerState {
    std::atomic<koRequestHandler> handler{nullptr};
    std::atomic<koLogProc> log{nullptr};
    std::atomic<uint16_t> port{0};
    Listener listener;
    // Counted from every connection thread at once; atomic so the count stays exact.
    std::atomic<int32_t> active{0};
    std::atomic<uint32_t> spare{10};
    // Set once, never cleared for the life of the process.
    std::atomic<int32_t> shutdown{0};
    ClientIds ids;  // ids of the connections logged in now

    // The computer name, written by koServerCreate while acceptors may copy it.
    void set_computer_name(const char *name);
    void copy_computer_name(char (&into)[261]);

private:
    std::mutex nameLock_;
    char computerName_[261] = "";
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
