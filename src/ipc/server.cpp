// The server exports and its threads: per transport one acceptor waiting at all times, and a
// thread for every accepted connection (the acceptor itself, once it has a client).
#include "export.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <thread>

#include "ipc/connect.h"
#include "ipc/frames.h"
#include "ipc/server_state.h"
#include "platform/files.h"
#include "platform/net.h"
#include "platform/system.h"

namespace tarn::ipc {
namespace {

enum class Transport { Socket, Pipe };

void start_acceptor(Transport t);

void serve_connection(Transport t) {
    plat::sleep_ms(1);
    ServerState &s = server();
    koConnect *conn = t == Transport::Socket ? static_cast<koConnect *>(new (std::nothrow) koSocketServer)
                                             : new (std::nothrow) koPipeServer;
    unsigned char *frame = new (std::nothrow) unsigned char[kFrameBytes]();
    if (conn && frame && conn->Open(s.computerName, s.port, 0, 1)) {
        plat::sleep_ms(1);
        start_acceptor(t);
        ++s.active;
        // Between two requests the connection waits on its next one, not on a clock.
        while (serve_request(*conn, frame) == Step::Continue) {
        }
        --s.active;
        s.ids.release(conn->header.ClientID);
        conn->Close();
    }
    delete[] frame;
    delete conn;
}

void start_acceptor(Transport t) {
    try {
        std::thread(serve_connection, t).detach();
    } catch (const std::exception &) {
        // Without a thread the chain of acceptors of this transport ends here.
    }
    plat::sleep_ms(1);
}

bool start_sockets(uint16_t port) {
    report(kLogProgress, "IP-Dienst wird gestartet");
    const plat::Socket sock = plat::tcp_socket();
    if (sock == plat::kNoSocket) {
        report_socket_error("socket(AT_INET,SOCK_STREAM,0)");
        return false;
    }
    const char *failed = !plat::bind_any(sock, port) ? "bind()"
                         : !plat::listen_socket(sock, 5) ? "listen()"
                                                         : nullptr;
    if (failed) {
        report_socket_error(failed);
        plat::close_socket(sock);
        return false;
    }
    server().listener = sock;
    start_acceptor(Transport::Socket);
    return true;
}

}  // namespace
}  // namespace tarn::ipc

using namespace tarn::ipc;

TARN_EXPORT int32_t TARN_CALL koInitIP(void) { return plat::net_startup() ? 1 : 0; }

TARN_EXPORT int32_t TARN_CALL koExitIP(void) {
    plat::net_cleanup();
    plat::sleep_ms(100);
    return 1;
}

// A second server in the same process takes over handler, log procedure and port; the
// connections and acceptors of the first go on with them.
TARN_EXPORT void *TARN_CALL koServerCreate(uint32_t port, uint16_t flags, koRequestHandler handler,
                                           koLogProc log) {
    koConnect *token = new (std::nothrow) koConnect;
    if (!token) return nullptr;
    ServerState &s = server();
    s.handler = handler;
    s.log = log;
    s.port = uint16_t(port);
    const std::string name = plat::computer_name();
    std::snprintf(s.computerName, sizeof s.computerName, "%s", name.c_str());
    if ((flags & KO_SERVER_SOCKETS) && !start_sockets(s.port)) {
        delete token;
        return nullptr;
    }
    if (!(flags & KO_SERVER_PIPES)) return token;
    if (plat::os_version_word() & 0x80000000u) {
        if (flags & KO_SERVER_SOCKETS) return token;
        delete token;
        return nullptr;
    }
    report(kLogProgress, "Pipe-Dienst wird gestartet");
    start_acceptor(Transport::Pipe);
    return token;
}

TARN_EXPORT int32_t TARN_CALL koServerIsRunning(void *handle) {
    return handle && !server().shutdown ? 1 : 0;
}

TARN_EXPORT void TARN_CALL koServerShutDown(void *) {
    plat::default_beep();
    report(kLogProgress, "shut down...");
    plat::sleep_ms(200);
    server().shutdown = 1;
    plat::sleep_ms(200);
}

TARN_EXPORT void TARN_CALL koServerSockets(void *handle, uint32_t *active, uint32_t *spare,
                                           uint32_t newSpare) {
    if (!handle) return;
    ServerState &s = server();
    if (newSpare != 0) s.spare = newSpare;
    if (active) *active = uint32_t(s.active.load());
    if (spare) *spare = s.spare;
}

TARN_EXPORT void TARN_CALL koServerCleanup(void *handle) {
    if (!handle) return;
    report(kLogProgress, "The server is done.");
    const plat::Socket listener = server().listener.exchange(plat::kNoSocket);
    if (listener != plat::kNoSocket) {
        plat::close_socket(listener);
        plat::sleep_ms(100);
    }
    plat::sleep_ms(100);
    delete static_cast<koConnect *>(handle);
}
