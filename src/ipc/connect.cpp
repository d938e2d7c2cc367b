#include "ipc/connect.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ipc/server_state.h"
#include "platform/system.h"

namespace tarn::ipc {
namespace {

// Named pipes are not offered on the consumer line of Windows (version word's top bit set).
bool pipes_unavailable() { return (plat::os_version_word() & 0x80000000u) != 0; }

void pipe_name(char (&name)[300], const char *host, uint32_t port) {
    std::snprintf(name, sizeof name, "\\\\%s\\pipe\\KELVO_%05u", host ? host : "", unsigned(port));
}

// A select slice: the object's timeout, or 10 s when it has none.
uint32_t slice_ms(uint32_t timeoutSeconds) { return (timeoutSeconds ? timeoutSeconds : 10) * 1000; }

}  // namespace

// ---- koConnect -----------------------------------------------------------------------------

int32_t koConnect::Open(const char *hostText, uint16_t portNumber, uint32_t timeoutSeconds,
                        uint32_t intervalMs) {
    host = hostText;
    port = portNumber;
    timeout = timeoutSeconds;
    interval = intervalMs;
    connected = 0;
    serverClientId = 0;
    header.ClientID = 0;
    return 1;
}

int32_t koConnect::Close() {
    connected = 0;
    return 1;
}

koConnect::~koConnect() { std::free(replyStaging); }

int32_t koConnect::ReadBytes(void *, uint32_t) { return 0; }
uint32_t koConnect::ReadSome(void *, uint32_t) { return 0; }

int32_t koConnect::ReadBuffered(void *buffer, uint32_t count) {
    unsigned char *at = static_cast<unsigned char *>(buffer);
    while (count > 0) {
        if (aheadAt_ < aheadEnd_) {
            const uint32_t n = std::min(count, aheadEnd_ - aheadAt_);
            std::memcpy(at, ahead_ + aheadAt_, n);
            aheadAt_ += n;
            at += n;
            count -= n;
        } else if (count >= kReadAhead) {
            // As much as the buffer holds goes straight to the caller.
            const uint32_t n = ReadSome(at, count);
            if (n == 0) return 0;
            at += n;
            count -= n;
        } else {
            const uint32_t n = ReadSome(ahead_, kReadAhead);
            if (n == 0) return 0;
            aheadAt_ = 0;
            aheadEnd_ = n;
        }
    }
    return 1;
}
int32_t koConnect::WriteBytes(const void *, uint32_t) { return 0; }

// ---- pipes -------------------------------------------------------------------------------------

koConnectPipe::~koConnectPipe() { plat::pipe_close(pipe); }

int32_t koConnectPipe::ReadBytes(void *buffer, uint32_t count) {
    if (count == 0) return 1;
    if (pipe && ReadBuffered(buffer, count)) return 1;
    report(kLogConnection, "read from pipe");
    return 0;
}

uint32_t koConnectPipe::ReadSome(void *buffer, uint32_t count) {
    return plat::pipe_read_some(pipe, buffer, count, interval, &connected);
}

int32_t koConnectPipe::WriteBytes(const void *buffer, uint32_t count) {
    if (pipe && plat::pipe_write(pipe, buffer, count, interval, &connected)) {
        plat::pipe_flush(pipe);
        return 1;
    }
    report(kLogConnection, "write to pipe");
    return 0;
}

int32_t koPipeClient::Open(const char *hostText, uint16_t portNumber, uint32_t timeoutSeconds,
                           uint32_t intervalMs) {
    koConnect::Open(hostText, portNumber, timeoutSeconds, intervalMs);
    if (pipes_unavailable()) return 0;
    char name[300];
    pipe_name(name, hostText, portNumber);
    report(kLogProgress, "connect to");
    report(kLogProgress, name);
    pipe = plat::pipe_open(name);
    if (!pipe) {
        report(kLogProgress, "not connected");
        return 0;
    }
    connected = 1;
    report(kLogProgress, "connected");
    return 1;
}

int32_t koPipeClient::Close() {
    if (connected && pipe) {
        plat::sleep_ms(10);
        plat::pipe_flush(pipe);
        plat::pipe_close(pipe);
        pipe = nullptr;
    }
    return 1;
}

plat::Pipe *koPipeServer::CreateInstance(uint16_t portNumber) {
    char name[300];
    pipe_name(name, ".", portNumber);
    plat::Pipe *instance = plat::pipe_create(name);
    if (!instance) report(kLogConnection, name);
    return instance;
}

int32_t koPipeServer::Open(const char *hostText, uint16_t portNumber, uint32_t timeoutSeconds,
                           uint32_t intervalMs) {
    koConnect::Open(hostText, portNumber, timeoutSeconds, intervalMs);
    if (pipes_unavailable()) return 0;
    if (!pipe && !(pipe = CreateInstance(portNumber))) return 0;
    char name[300];
    pipe_name(name, ".", portNumber);
    connected = 1;
    const int rc = plat::pipe_wait_client(pipe, timeoutSeconds * 1000, 10, &connected);
    if (rc == 1) return 1;
    report(kLogConnection, rc == 0 ? "Pipe-Connect-Timeout" : name);
    connected = 0;
    plat::pipe_close(pipe);
    pipe = nullptr;
    return 0;
}

int32_t koPipeServer::Close() {
    if (connected && pipe) {
        connected = 0;
        plat::sleep_ms(10);
        plat::pipe_flush(pipe);
        plat::pipe_disconnect(pipe);
        plat::pipe_close(pipe);
        pipe = nullptr;
    }
    return 1;
}

// ---- sockets -------------------------------------------------------------------------------

koConnectSocket::~koConnectSocket() {
    if (socket != plat::kNoSocket) plat::close_socket(socket);
}

int32_t koConnectSocket::ReadBytes(void *buffer, uint32_t count) {
    return ReadBuffered(buffer, count);
}

// Data that has arrived is taken at once; only when none has does the receive wait on the
// socket, in slices, as long as the connection is wanted.
uint32_t koConnectSocket::ReadSome(void *buffer, uint32_t count) {
    const uint32_t slice = slice_ms(timeout);
    int n;
    while ((n = plat::recv_socket_within(socket, buffer, int(count), slice, &receiveWait)) ==
           plat::kWouldBlock) {
        if (server().shutdown || !connected) return 0;
        plat::sleep_ms(interval);
    }
    if (n < 0) {
        report_socket_error("receive():");
        return 0;
    }
    // A peer that closed its end sends nothing more: waiting on would spin for ever.
    return uint32_t(n);
}

int32_t koConnectSocket::WriteBytes(const void *buffer, uint32_t count) {
    const char *at = static_cast<const char *>(buffer);
    const uint32_t slice = slice_ms(timeout);
    while (count > 0) {
        int n = plat::try_send_socket(socket, at, int(count));
        if (n == plat::kWouldBlock) {
            if (plat::wait_socket(socket, true, slice) == 0) {
                report_socket_error("select():  Send timeout == 0");
                return 0;
            }
            n = plat::send_socket(socket, at, int(count));
        }
        if (n < 0) {
            report_socket_error("send():");
            return 0;
        }
        at += n;
        count -= uint32_t(n);
    }
    return 1;
}

// The client keeps timeout, interval and connected flag at 0: a reply chunk is waited for one
// 10-second slice at most.
int32_t koSocketClient::Open(const char *hostText, uint16_t portNumber, uint32_t, uint32_t) {
    host = hostText;
    port = portNumber;
    uint32_t address = 0;
    const bool found = hostText && hostText[0] == '#' ? plat::parse_dotted(hostText + 1, &address)
                                                      : plat::resolve_host(hostText, &address);
    if (!found) {
        report_socket_error("gethostbyname()");
        return 0;
    }
    socket = plat::tcp_socket();
    if (socket == plat::kNoSocket) {
        report_socket_error("socket()");
        return 0;
    }
    peer = plat::ipv4_address(address, portNumber);
    if (!plat::connect_socket(socket, peer)) {
        report_socket_error("connect()");
        plat::close_socket(socket);
        socket = plat::kNoSocket;
        return 0;
    }
    plat::set_no_delay(socket);
    return 1;
}

int32_t koSocketClient::Close() {
    if (socket != plat::kNoSocket) {
        plat::sleep_ms(10);
        if (!plat::close_socket(socket)) report_socket_error("closesocket()");
        socket = plat::kNoSocket;
    }
    return 1;
}

// Fails once the listener is no longer the server's (cleanup took it) or no longer a socket:
// until then a failed accept (no descriptors or buffers left, say) is reported and tried again
// 100 ms later.
int32_t koSocketServer::Open(const char *hostText, uint16_t portNumber, uint32_t timeoutSeconds,
                             uint32_t intervalMs) {
    koConnect::Open(hostText, portNumber, timeoutSeconds, intervalMs);
    Listener &current = server().listener;
    const Listener::Seen waitsOn = {listener, listenerGeneration};
    for (;;) {
        // The number of a listener already closed may belong to another socket by now.
        if (!current.is_current(waitsOn)) {
            plat::set_socket_error(10004);
            report_socket_error("accept");
            return 0;
        }
        socket = plat::accept_socket(waitsOn.socket, &peer);
        const bool stillOurs = current.is_current(waitsOn);
        if (socket != plat::kNoSocket && stillOurs) break;
        if (socket != plat::kNoSocket) {
            // Taken just as cleanup closed the listener, or from a socket that got its number
            // afterwards: not a connection of this server.
            plat::close_socket(socket);
            socket = plat::kNoSocket;
            plat::set_socket_error(10004);
        }
        // A listener that is no socket (any more), or a socket layer stopped, never recovers.
        const int error = plat::socket_error();
        report_socket_error("accept");
        if (!stillOurs || error == 10009 || error == 10038 || error == 10093) return 0;
        plat::sleep_ms(100);
    }
    plat::set_no_delay(socket);
    connected = 1;
    return 1;
}

int32_t koSocketServer::Close() {
    if (!connected) return 1;
    const bool closed = plat::close_socket(socket);
    if (!closed) report_socket_error("closesocket");
    socket = plat::kNoSocket;
    connected = 0;
    return closed ? 1 : 0;
}

}  // namespace tarn::ipc
