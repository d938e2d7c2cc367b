#include "platform/net.h"
#include "platform/syscall.h"

#include <winsock2.h>
#include <windows.h>

#include <cstring>

namespace plat {

bool net_startup() {
    WSADATA data;
    return WSAStartup(MAKEWORD(1, 1), &data) == 0;
}

bool net_cleanup() { return WSACleanup() == 0; }

int socket_error() { return WSAGetLastError(); }

Socket tcp_socket() {
    if (fail_now(kCallsocket)) return kNoSocket;
    const SOCKET s = socket(AF_INET, SOCK_STREAM, 0);
    return s == INVALID_SOCKET ? kNoSocket : Socket(s);
}

bool bind_any(Socket s, uint16_t port) {
    if (fail_now(kCallbind)) return false;
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_ANY);
    return bind(SOCKET(s), reinterpret_cast<sockaddr *>(&a), sizeof a) == 0;
}

bool listen_socket(Socket s, int backlog) {
    if (fail_now(kCalllisten)) return false;
    return listen(SOCKET(s), backlog) == 0;
}

Socket accept_socket(Socket listener, SockAddr4 *peer) {
    if (fail_now(kCallaccept)) return kNoSocket;
    sockaddr_in a = {};
    int len = sizeof a;
    SOCKET s;
    do {
        len = sizeof a;
        s = accept(SOCKET(listener), reinterpret_cast<sockaddr *>(&a), &len);
        // A pending connection reset by its client before it was taken: wait for the next one.
    } while (s == INVALID_SOCKET && WSAGetLastError() == WSAECONNRESET);
    if (s == INVALID_SOCKET) return kNoSocket;
    if (peer) {
        std::memset(peer, 0, sizeof *peer);
        peer->family = AF_INET;
        peer->port = a.sin_port;
        peer->address = a.sin_addr.s_addr;
    }
    return Socket(s);
}

bool connect_socket(Socket s, const SockAddr4 &to) {
    if (fail_now(kCallconnect)) return false;
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_port = to.port;
    a.sin_addr.s_addr = to.address;
    return connect(SOCKET(s), reinterpret_cast<sockaddr *>(&a), sizeof a) == 0;
}

bool resolve_host(const char *name, uint32_t *address) {
    if (!name) {
        WSASetLastError(WSAHOST_NOT_FOUND);
        return false;
    }
    const hostent *h = gethostbyname(name);
    if (!h || h->h_addrtype != AF_INET || !h->h_addr_list[0]) return false;
    std::memcpy(address, h->h_addr_list[0], 4);
    return true;
}

bool parse_dotted(const char *text, uint32_t *address) {
    const unsigned long a = text ? inet_addr(text) : INADDR_NONE;
    if (a == INADDR_NONE && (!text || std::strcmp(text, "255.255.255.255") != 0)) {
        WSASetLastError(WSAEINVAL);
        return false;
    }
    *address = uint32_t(a);
    return true;
}

SockAddr4 ipv4_address(uint32_t address, uint16_t port) {
    SockAddr4 a = {};
    a.family = AF_INET;
    a.port = htons(port);
    a.address = address;
    return a;
}

void set_no_delay(Socket s) {
    const BOOL on = TRUE;
    setsockopt(SOCKET(s), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&on), sizeof on);
}

int wait_socket(Socket s, bool forWrite, uint32_t timeoutMs) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(SOCKET(s), &set);
    timeval tv;
    tv.tv_sec = long(timeoutMs / 1000);
    tv.tv_usec = long(timeoutMs % 1000) * 1000;
    const int rc = select(0, forWrite ? nullptr : &set, forWrite ? &set : nullptr, nullptr, &tv);
    return rc == SOCKET_ERROR ? -1 : rc > 0 ? 1 : 0;
}

int recv_socket(Socket s, void *buffer, int count) {
    if (fail_now(kCallrecv)) return -1;
    const int n = recv(SOCKET(s), static_cast<char *>(buffer), count, 0);
    return n == SOCKET_ERROR ? -1 : n;
}

int send_socket(Socket s, const void *buffer, int count) {
    if (fail_now(kCallsend)) return -1;
    const int n = send(SOCKET(s), static_cast<const char *>(buffer), count, 0);
    return n == SOCKET_ERROR ? -1 : n;
}

int recv_socket_within(Socket s, void *buffer, int count, uint32_t timeoutMs, uint32_t *) {
    // A receive timeout would leave a Winsock socket in an undefined state: select waits.
    // A failed wait is not told apart from readiness: the receive reports the error.
    if (wait_socket(s, false, timeoutMs) == 0) return kWouldBlock;
    return recv_socket(s, buffer, count);
}
int try_send_socket(Socket, const void *, int) { return kWouldBlock; }

bool close_socket(Socket s) { return closesocket(SOCKET(s)) == 0; }

void reset_socket(Socket s) {
    const linger abort = {1, 0};
    setsockopt(SOCKET(s), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&abort), sizeof abort);
    closesocket(SOCKET(s));
}

void shutdown_socket(Socket s) {
    // A listening socket answers WSAENOTCONN; the caller's own last error is kept.
    const int before = WSAGetLastError();
    shutdown(SOCKET(s), SD_BOTH);
    WSASetLastError(before);
}

void set_socket_error(int wsaError) { WSASetLastError(wsaError); }

// ---- named pipes -------------------------------------------------------------------------

struct Pipe {
    HANDLE handle = INVALID_HANDLE_VALUE;
    HANDLE event = nullptr;  // one per pipe end: it is used by one thread at a time
};

namespace {

Pipe *wrap(HANDLE h) {
    if (h == INVALID_HANDLE_VALUE) return nullptr;
    Pipe *p = new Pipe;
    p->handle = h;
    p->event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (!p->event) {
        CloseHandle(h);
        delete p;
        return nullptr;
    }
    return p;
}

// Cancels an I/O still under way and waits for it to end, so that the system no longer
// touches the caller's buffer or OVERLAPPED.
void cancel_io(Pipe *p, OVERLAPPED *ov) {
    DWORD ignored = 0;
    CancelIo(p->handle);
    GetOverlappedResult(p->handle, ov, &ignored, TRUE);
}

// One read or write, waited for `intervalMs` at a time while `*connected`: the bytes it moved
// (a byte-mode pipe read returns what has arrived, at least one byte), 0 on failure.
DWORD transfer_once(Pipe *p, bool write, char *at, uint32_t count, uint32_t intervalMs,
                    const int32_t *connected) {
    OVERLAPPED ov = {};
    ov.hEvent = p->event;
    const BOOL started = write ? WriteFile(p->handle, at, count, nullptr, &ov)
                               : ReadFile(p->handle, at, count, nullptr, &ov);
    if (!started && GetLastError() != ERROR_IO_PENDING) return 0;
    DWORD done = 0;
    while (!GetOverlappedResult(p->handle, &ov, &done, FALSE)) {
        if (GetLastError() != ERROR_IO_INCOMPLETE) return 0;
        if (!*connected) {
            cancel_io(p, &ov);
            return 0;
        }
        WaitForSingleObject(p->event, intervalMs);
    }
    return done;
}

bool transfer(Pipe *p, bool write, char *at, uint32_t count, uint32_t intervalMs,
              const int32_t *connected) {
    while (count > 0) {
        // Byte-mode pipe reads return part of the data: the rest takes a new read, not a poll.
        const DWORD done = transfer_once(p, write, at, count, intervalMs, connected);
        if (done == 0) return false;
        at += done;
        count -= done;
    }
    return true;
}

}  // namespace

Pipe *pipe_create(const char *name) {
    if (fail_now(kCallCreateNamedPipe)) return nullptr;
    return wrap(
        CreateNamedPipeA(name, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_WRITE_THROUGH,
                         PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES,
                         512, 512, 0, nullptr));
}

int pipe_wait_client(Pipe *p, uint32_t timeoutMs, uint32_t pollMs, const int32_t *keepWaiting) {
    if (fail_now(kCallConnectNamedPipe)) return -1;
    OVERLAPPED ov = {};
    ov.hEvent = p->event;
    if (ConnectNamedPipe(p->handle, &ov)) return 1;
    const DWORD err = GetLastError();
    if (err == ERROR_PIPE_CONNECTED) return 1;
    if (err != ERROR_IO_PENDING) return -1;
    const ULONGLONG start = GetTickCount64();
    for (;;) {
        DWORD ignored = 0;
        if (GetOverlappedResult(p->handle, &ov, &ignored, FALSE)) return 1;
        if (GetLastError() != ERROR_IO_INCOMPLETE) return -1;
        if (!*keepWaiting || (timeoutMs != 0 && GetTickCount64() - start >= timeoutMs)) {
            cancel_io(p, &ov);
            return 0;
        }
        WaitForSingleObject(p->event, pollMs);
    }
}

Pipe *pipe_open(const char *name) {
    if (fail_now(kCallCreatePipeClient)) return nullptr;
    return wrap(CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                            FILE_FLAG_WRITE_THROUGH | FILE_FLAG_OVERLAPPED, nullptr));
}

uint32_t pipe_read_some(Pipe *p, void *buffer, uint32_t count, uint32_t intervalMs,
                        const int32_t *connected) {
    if (fail_now(kCallReadPipe) || count == 0) return 0;
    return transfer_once(p, false, static_cast<char *>(buffer), count, intervalMs, connected);
}

bool pipe_write(Pipe *p, const void *buffer, uint32_t count, uint32_t intervalMs,
                const int32_t *connected) {
    if (fail_now(kCallWritePipe)) return false;
    return transfer(p, true, const_cast<char *>(static_cast<const char *>(buffer)), count,
                    intervalMs, connected);
}

void pipe_flush(Pipe *p) { FlushFileBuffers(p->handle); }

void pipe_disconnect(Pipe *p) { DisconnectNamedPipe(p->handle); }

void pipe_close(Pipe *p) {
    if (!p) return;
    CloseHandle(p->handle);
    CloseHandle(p->event);
    delete p;
}

}  // namespace plat
