// The server exports and its threads: per transport one acceptor waiting at all times, and a
// thread for every accepted connection (the acceptor itself, once it has a client).
#include "export.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "ipc/connect.h"
#include "ipc/frames.h"
#include "ipc/server_state.h"
#include "platform/files.h"
#include "platform/net.h"
#include "platform/system.h"
#include "platform/thread.h"

namespace tarn::ipc {
namespace {

enum class Transport { Socket, Pipe };

// One chain of acceptors: its transport and, for sockets, the listener it takes connections from.
// The first pipe acceptor gets the instance koServerCreate made, so that a client finds the pipe
// the moment the call has returned.
struct Chain {
    Transport transport;
    Listener::Seen listener;
    plat::Pipe *firstInstance = nullptr;
};

// The pause before a thread or memory that could not be had is asked for again.
constexpr int kRetryMs = 50;

// A socket chain lasts as long as its listener is the server's, a pipe chain as the process.
bool wanted(const Chain &chain) {
    return chain.transport == Transport::Pipe || server().listener.is_current(chain.listener);
}

koConnect *new_connection(const Chain &chain) {
    if (chain.transport == Transport::Pipe) {
        koPipeServer *conn = new (std::nothrow) koPipeServer;
        if (conn) conn->pipe = chain.firstInstance;
        return conn;
    }
    koSocketServer *conn = new (std::nothrow) koSocketServer;
    if (conn) {
        conn->listener = chain.listener.socket;
        conn->listenerGeneration = chain.listener.generation;
    }
    return conn;
}

void start_acceptor(const Chain &chain);

void serve_connection(Chain chain) {
    plat::sleep_ms(1);
    ServerState &s = server();
    koConnect *conn = nullptr;
    unsigned char *frame = nullptr;
    // Short of memory the acceptor waits for some rather than ending the chain.
    for (;;) {
        if (!conn && (conn = new_connection(chain))) chain.firstInstance = nullptr;  // conn owns it
        if (!frame) frame = new (std::nothrow) unsigned char[kFrameBytes]();
        if (conn && frame) break;
        if (!wanted(chain)) {
            delete[] frame;
            delete conn;
            return;
        }
        plat::sleep_ms(kRetryMs);
    }
    // The acceptor's own copy: a later koServerCreate may write the server's meanwhile.
    char host[261];
    s.copy_computer_name(host);
    if (conn->Open(host, s.port.load(), 0, 1)) {
        plat::sleep_ms(1);
        start_acceptor(chain);
        ++s.active;
        // Between two requests the connection waits on its next one, not on a clock.
        while (serve_request(*conn, frame) == Step::Continue) {}
        --s.active;
        s.ids.release(conn->header.ClientID);
        conn->Close();
    }
    delete[] frame;
    delete conn;
}

void run_acceptor(void *chain) {
    const Chain copy = *static_cast<Chain *>(chain);
    delete static_cast<Chain *>(chain);
    serve_connection(copy);
}

void start_acceptor(const Chain &chain) {
    // Without a thread for now the chain goes on once one can be had.
    for (;;) {
        if (Chain *copy = new (std::nothrow) Chain(chain)) {
            if (plat::start_thread(run_acceptor, copy)) break;
            delete copy;
        }
        if (!wanted(chain)) break;
        plat::sleep_ms(kRetryMs);
    }
    plat::sleep_ms(1);
}

// Takes the listening socket from the server and closes it. It is shut down first, which
// wakes the acceptor waiting on it; that one then finds the listener is no longer the server's.
void close_listener() {
    const plat::Socket listener = server().listener.take();
    if (listener == plat::kNoSocket) return;
    plat::shutdown_socket(listener);
    plat::close_socket(listener);
    plat::sleep_ms(100);
}

bool start_sockets(uint16_t port) {
    report(kLogProgress, "IP-Dienst wird gestartet");
    const plat::Socket sock = plat::tcp_socket();
    if (sock == plat::kNoSocket) {
        report_socket_error("socket(AT_INET,SOCK_STREAM,0)");
        return false;
    }
    const char *failed = !plat::bind_any(sock, port)     ? "bind()"
                         : !plat::listen_socket(sock, 5) ? "listen()"
                                                         : nullptr;
    if (failed) {
        report_socket_error(failed);
        plat::close_socket(sock);
        return false;
    }
    // One listener per process: one a server created before has is closed, ending its acceptors.
    close_listener();
    start_acceptor({Transport::Socket, server().listener.install(sock)});
    return true;
}

}  // namespace
}  // namespace tarn::ipc

using namespace tarn::ipc;

TARN_API int32_t TARN_CALL koInitIP(void) { return plat::net_startup() ? 1 : 0; }

TARN_API int32_t TARN_CALL koExitIP(void) {
    plat::net_cleanup();
    plat::sleep_ms(100);
    return 1;
}

// A second server in the same process takes over handler, log procedure, port and the
// listening socket (the first one's socket acceptors end); the first's open connections and pipe
// acceptors go on with them.
TARN_API void *TARN_CALL koServerCreate(uint32_t port, uint16_t flags, koRequestHandler handler,
                                        koLogProc log) {
    koConnect *token = new (std::nothrow) koConnect;
    if (!token) return nullptr;
    ServerState &s = server();
    s.handler = handler;
    s.log = log;
    s.port = uint16_t(port);
    s.set_computer_name(plat::computer_name().c_str());
    if ((flags & KO_SERVER_SOCKETS) && !start_sockets(uint16_t(port))) {
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
    // The first instance exists before the call returns; failing it fails the call, as a failing
    // bind() does for sockets, and takes down the socket listener this call installed.
    plat::Pipe *first = koPipeServer::CreateInstance(uint16_t(port));
    if (!first) {
        if (flags & KO_SERVER_SOCKETS) close_listener();
        delete token;
        return nullptr;
    }
    start_acceptor({Transport::Pipe, {plat::kNoSocket, 0}, first});
    return token;
}

TARN_API int32_t TARN_CALL koServerIsRunning(void *handle) {
    return handle && !server().shutdown ? 1 : 0;
}

TARN_API void TARN_CALL koServerShutDown(void *) {
    plat::default_beep();
    report(kLogProgress, "shut down...");
    plat::sleep_ms(200);
    server().shutdown = 1;
    plat::sleep_ms(200);
}

TARN_API void TARN_CALL koServerSockets(void *handle, uint32_t *active, uint32_t *spare,
                                        uint32_t newSpare) {
    if (!handle) return;
    ServerState &s = server();
    if (newSpare != 0) s.spare = newSpare;
    if (active) *active = uint32_t(s.active.load());
    if (spare) *spare = s.spare;
}

TARN_API void TARN_CALL koServerCleanup(void *handle) {
    if (!handle) return;
    report(kLogProgress, "The server is done.");
    close_listener();
    plat::sleep_ms(100);
    delete static_cast<koConnect *>(handle);
}
