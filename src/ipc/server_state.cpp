#include "ipc/server_state.h"

#include <cstdio>
#include <cstring>

#include "platform/net.h"
#include "platform/system.h"

namespace tarn::ipc {

ServerState &server() {
    // Never destroyed: connection threads may still run while the process exits.
    static ServerState *state = new ServerState;
    return *state;
}

Listener::Seen Listener::current() {
    std::lock_guard<std::mutex> hold(lock_);
    return {socket_, generation_};
}

bool Listener::is_current(const Seen &seen) {
    std::lock_guard<std::mutex> hold(lock_);
    return seen.socket != plat::kNoSocket && seen.socket == socket_ &&
           seen.generation == generation_;
}

Listener::Seen Listener::install(plat::Socket s) {
    std::lock_guard<std::mutex> hold(lock_);
    socket_ = s;
    return {socket_, ++generation_};
}

plat::Socket Listener::take() {
    std::lock_guard<std::mutex> hold(lock_);
    const plat::Socket s = socket_;
    socket_ = plat::kNoSocket;
    ++generation_;
    return s;
}

void ServerState::set_computer_name(const char *name) {
    std::lock_guard<std::mutex> hold(nameLock_);
    std::snprintf(computerName_, sizeof computerName_, "%s", name ? name : "");
}

void ServerState::copy_computer_name(char (&into)[261]) {
    std::lock_guard<std::mutex> hold(nameLock_);
    std::memcpy(into, computerName_, sizeof into);
}

void report(uint32_t code, const char *text, uint32_t flag) {
    if (koLogProc log = server().log.load()) log(code, text, flag);
}

const char *socket_error_suffix(int error) {
    switch (error) {
    case 10004: return "==WSAEINTR";
    case 10014: return "==WSAEFAULT";
    case 10022: return "==WSAEINVAL";
    case 10024: return "==WSAEMFILE";
    case 10035: return "==WSAEWOULDBLOCK";
    case 10036: return "==WSAEINPROGRESS";
    case 10038: return "==WSAENOTSOCK";
    case 10045: return "==WSAEOPNOTSUPP";
    case 10047: return "==WSAEAFNOSUPPORT";
    case 10048: return "==WSAEADDRINUSE";
    case 10050: return "==WSAENETDOWN";
    case 10055: return "==WSAENOBUFS";
    case 10093: return "==WSANOTINITIALISED";
    default: return "==?";
    }
}

void report_socket_error(const char *call) {
    char text[260];
    std::snprintf(text, sizeof text, "%s%s", call, socket_error_suffix(plat::socket_error()));
    report(kLogSocket, text);
}

void shut_down_by_client() {
    server().shutdown = 1;
    plat::default_beep();
    report(kLogProgress, "shut down requested by client");
    plat::sleep_ms(100);
}

}  // namespace tarn::ipc
