#include "platform/net.h"
#include "platform/syscall.h"

#include "platform/files.h"
#include "platform/system.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

namespace plat {
namespace {

thread_local int lastSocketError = 0;

int wsa_number(int e) {
    switch (e) {
    case EINTR: return 10004;
    case EBADF: return 10009;
    case EACCES: return 10013;
    case EFAULT: return 10014;
    case EINVAL: return 10022;
    case EMFILE:
    case ENFILE: return 10024;
    case EAGAIN: return 10035;  // EWOULDBLOCK is the same number here
    case EINPROGRESS: return 10036;
    case EALREADY: return 10037;
    case ENOTSOCK: return 10038;
    case EDESTADDRREQ: return 10039;
    case EMSGSIZE: return 10040;
    case EPROTOTYPE: return 10041;
    case ENOPROTOOPT: return 10042;
    case EPROTONOSUPPORT: return 10043;
    case EOPNOTSUPP: return 10045;
    case EAFNOSUPPORT: return 10047;
    case EADDRINUSE: return 10048;
    case EADDRNOTAVAIL: return 10049;
    case ENETDOWN: return 10050;
    case ENETUNREACH: return 10051;
    case ECONNABORTED: return 10053;
    case ECONNRESET: return 10054;
    case ENOBUFS:
    case ENOMEM: return 10055;
    case EISCONN: return 10056;
    case ENOTCONN: return 10057;
    case EPIPE: return 10058;  // WSAESHUTDOWN: the sending side is gone
    case ETIMEDOUT: return 10060;
    case ECONNREFUSED: return 10061;
    case EHOSTUNREACH: return 10065;
    // The classic numbers below 35 are the same as BSD's, from which Winsock took its own.
    default: return e > 0 && e < 35 ? 10000 + e : 10000;
    }
}

void fail_with(int e) { lastSocketError = wsa_number(e); }

// Errors of accept that concern one pending connection only, or a signal: the listener is fine
// and the next connection can be taken at once. Linux reports a pending connection's network
// errors through accept as well.
bool passing_accept_error(int e) {
    switch (e) {
    case EINTR:
    case ECONNABORTED:
    case EPROTO:
    case ENOPROTOOPT:
    case ENETDOWN:
    case ENETUNREACH:
    case EHOSTDOWN:
    case EHOSTUNREACH:
#ifdef ENONET
    case ENONET:
#endif
        return true;
    default: return false;
    }
}

int fd_of(Socket s) { return s == kNoSocket ? -1 : int(s); }

void wait_poll(int fd, short events, uint32_t ms) {
    struct pollfd p = {fd, events, 0};
    poll(&p, 1, int(ms));
}

// A blocking receive or send on the socket then waits at most `ms` (at least 1).
void set_timeout(int fd, int option, uint32_t *current, uint32_t ms) {
    if (ms == 0) ms = 1;
    if (*current == ms) return;
    struct timeval tv;
    tv.tv_sec = time_t(ms / 1000);
    tv.tv_usec = suseconds_t(ms % 1000) * 1000;
    setsockopt(fd, SOL_SOCKET, option, &tv, sizeof tv);
    *current = ms;
}

}  // namespace

bool net_startup() { return true; }
bool net_cleanup() { return true; }
int socket_error() { return lastSocketError; }

Socket tcp_socket() {
    if (fail_now(kCallsocket)) return kNoSocket;
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        fail_with(errno);
        return kNoSocket;
    }
    return Socket(fd);
}

bool bind_any(Socket s, uint16_t port) {
    if (fail_now(kCallbind)) return false;
    const int on = 1;
    setsockopt(fd_of(s), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    struct sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_ANY);
    if (bind(fd_of(s), reinterpret_cast<struct sockaddr *>(&a), sizeof a) == 0) return true;
    fail_with(errno);
    return false;
}

bool listen_socket(Socket s, int backlog) {
    if (fail_now(kCalllisten)) return false;
    if (listen(fd_of(s), backlog) == 0) return true;
    fail_with(errno);
    return false;
}

Socket accept_socket(Socket listener, SockAddr4 *peer) {
    if (fail_now(kCallaccept)) return kNoSocket;
    struct sockaddr_in a = {};
    socklen_t len = sizeof a;
    int fd;
    do {
        len = sizeof a;
        fd = accept4(fd_of(listener), reinterpret_cast<struct sockaddr *>(&a), &len, SOCK_CLOEXEC);
    } while (fd < 0 && passing_accept_error(errno));
    if (fd < 0) {
        fail_with(errno);
        return kNoSocket;
    }
    if (peer) {
        std::memset(peer, 0, sizeof *peer);
        peer->family = AF_INET;
        peer->port = a.sin_port;
        peer->address = a.sin_addr.s_addr;
    }
    return Socket(fd);
}

bool connect_socket(Socket s, const SockAddr4 &to) {
    if (fail_now(kCallconnect)) return false;
    struct sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_port = to.port;
    a.sin_addr.s_addr = to.address;
    if (connect(fd_of(s), reinterpret_cast<struct sockaddr *>(&a), sizeof a) == 0) return true;
    fail_with(errno);
    return false;
}

bool resolve_host(const char *name, uint32_t *address) {
    struct addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    struct addrinfo *list = nullptr;
    const int rc = name ? getaddrinfo(name, nullptr, &hints, &list) : EAI_NONAME;
    if (rc != 0 || !list) {
        // The Winsock numbers of a failed lookup: host not found, or try again.
        lastSocketError = rc == EAI_AGAIN ? 11002 : rc == EAI_SYSTEM ? wsa_number(errno) : 11001;
        return false;
    }
    *address = reinterpret_cast<struct sockaddr_in *>(list->ai_addr)->sin_addr.s_addr;
    freeaddrinfo(list);
    return true;
}

bool parse_dotted(const char *text, uint32_t *address) {
    struct in_addr a;
    if (!text || inet_aton(text, &a) == 0) {
        lastSocketError = 10022;
        return false;
    }
    *address = a.s_addr;
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
    const int on = 1;
    setsockopt(fd_of(s), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int wait_socket(Socket s, bool forWrite, uint32_t timeoutMs) {
    struct pollfd p = {fd_of(s), short(forWrite ? POLLOUT : POLLIN), 0};
    int rc;
    do {
        rc = poll(&p, 1, int(timeoutMs));
    } while (rc < 0 && errno == EINTR);
    if (rc < 0) {
        fail_with(errno);
        return -1;
    }
    if (rc > 0 && (p.revents & POLLNVAL)) {
        lastSocketError = 10038;
        return -1;
    }
    return rc > 0 ? 1 : 0;
}

int recv_socket(Socket s, void *buffer, int count) {
    if (fail_now(kCallrecv)) return -1;
    ssize_t n;
    do {
        n = recv(fd_of(s), buffer, size_t(count), 0);
    } while (n < 0 && errno == EINTR);
    if (n < 0) fail_with(errno);
    return int(n);
}

int send_socket(Socket s, const void *buffer, int count) {
    if (fail_now(kCallsend)) return -1;
    ssize_t n;
    do {
        n = send(fd_of(s), buffer, size_t(count), MSG_NOSIGNAL);
    } while (n < 0 && errno == EINTR);
    if (n < 0) fail_with(errno);
    return int(n);
}

int recv_socket_within(Socket s, void *buffer, int count, uint32_t timeoutMs, uint32_t *timeoutSet) {
    if (fail_now(kCallrecv)) return -1;
    // The blocking receive waits itself, with the socket's receive timeout, set only when it
    // changes: a poll before each receive would cost a wake-up.
    const int fd = fd_of(s);
    set_timeout(fd, SO_RCVTIMEO, timeoutSet, timeoutMs);
    ssize_t n;
    do {
        n = recv(fd, buffer, size_t(count), 0);
    } while (n < 0 && errno == EINTR);
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return kWouldBlock;
    if (n < 0) fail_with(errno);
    return int(n);
}

int try_send_socket(Socket s, const void *buffer, int count) {
    if (fail_now(kCallsend)) return -1;
    ssize_t n;
    do {
        n = send(fd_of(s), buffer, size_t(count), MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (n < 0 && errno == EINTR);
    if (n < 0 && errno == EAGAIN) return kWouldBlock;
    if (n < 0) fail_with(errno);
    return int(n);
}

bool close_socket(Socket s) {
    const int fd = fd_of(s);
    // close() alone leaves a thread blocked in accept() on this socket asleep.
    shutdown(fd, SHUT_RDWR);
    if (close(fd) == 0) return true;
    fail_with(errno);
    return false;
}

void reset_socket(Socket s) {
    const linger abort = {1, 0};
    setsockopt(fd_of(s), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close(fd_of(s));
}

void shutdown_socket(Socket s) { shutdown(fd_of(s), SHUT_RDWR); }

void set_socket_error(int wsaError) { lastSocketError = wsaError; }

// ---- named pipes as Unix domain sockets ----------------------------------------------------

struct Pipe {
    int fd = -1;        // the connection, blocking, with time-outs of the caller's interval
    int listener = -1;  // server ends: the listener of the pipe's name
    uint32_t recvTimeout = 0;
    uint32_t sendTimeout = 0;
};

namespace {

std::string runtime_folder() {
    std::string dir;
    if (const char *r = std::getenv("TARNGDI_RUNTIME_DIR"); r && *r) {
        dir = r;
    } else if (const char *x = std::getenv("XDG_RUNTIME_DIR"); x && *x) {
        dir = std::string(x) + "/tarngdi32";
    } else {
        dir = "/tmp/tarngdi32-" + std::to_string(getuid());
    }
    for (size_t i = 1; i <= dir.size(); ++i)
        if (i == dir.size() || dir[i] == '/') mkdir(dir.substr(0, i).c_str(), 0700);
    // The folder holds the pipes' sockets and locks: it must be our own, closed to everyone
    // else, and not a link somewhere else (in /tmp anybody could have made it first).
    struct stat st;
    if (lstat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != getuid() ||
        (st.st_mode & 077) != 0)
        return std::string();
    return dir;
}

bool same_text_ignoring_case(const std::string &a, const std::string &b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'a' && x <= 'z') x = char(x - 'a' + 'A');
        if (y >= 'a' && y <= 'z') y = char(y - 'a' + 'A');
        if (x != y) return false;
    }
    return true;
}

// "\\HOST\pipe\NAME" -> the socket path of NAME; empty for another computer or a bad name.
std::string socket_path(const char *name) {
    const std::string s = name ? name : "";
    if (s.compare(0, 2, "\\\\") != 0) return std::string();
    const size_t hostEnd = s.find('\\', 2);
    if (hostEnd == std::string::npos) return std::string();
    const std::string host = s.substr(2, hostEnd - 2);
    if (host != "." && !same_text_ignoring_case(host, computer_name())) return std::string();
    const std::string pipePart = s.substr(hostEnd + 1, 5);
    if (!same_text_ignoring_case(pipePart, "pipe\\")) return std::string();
    const std::string leaf = s.substr(hostEnd + 6);
    if (leaf.empty() || leaf.find_first_of("/\\") != std::string::npos) return std::string();
    const std::string folder = runtime_folder();
    if (folder.empty()) return std::string();
    const std::string path = folder + "/" + leaf;
    if (path.size() >= sizeof(sockaddr_un::sun_path)) return std::string();
    return path;
}

sockaddr_un unix_address(const std::string &path) {
    sockaddr_un a = {};
    a.sun_family = AF_UNIX;
    std::memcpy(a.sun_path, path.c_str(), path.size() + 1);
    return a;
}

// Connects without blocking: a full backlog counts as "no instance free", as a busy pipe does.
int connect_unix(const std::string &path) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return -1;
    const sockaddr_un a = unix_address(path);
    if (connect(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

// The listeners of this process, one per pipe name, each with the lock that makes the name
// ours; they live as long as the process, as the instances of a Windows pipe name do while a
// server waits on them.
struct NamedListener {
    int fd;
    int lock;
};
std::mutex &listener_lock() {
    static std::mutex *m = new std::mutex;
    return *m;
}
std::map<std::string, NamedListener> &listeners() {
    static auto *m = new std::map<std::string, NamedListener>;
    return *m;
}

// The name belongs to the process that holds an exclusive lock on "<path>.lock": the system
// drops the lock with the process, so a socket file left by a server that is gone is known by
// the lock being free, and is replaced without asking whoever may be behind it.
int listener_for(const std::string &path) {
    std::lock_guard<std::mutex> hold(listener_lock());
    auto it = listeners().find(path);
    if (it != listeners().end()) return it->second.fd;
    const std::string lockPath = path + ".lock";
    const int lock = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lock < 0) return -1;
    int rc;
    do {
        rc = flock(lock, LOCK_EX | LOCK_NB);
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) {  // another process serves this name
        close(lock);
        return -1;
    }
    unlink(path.c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const sockaddr_un a = unix_address(path);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a) != 0 ||
        listen(fd, 64) != 0) {
        if (fd >= 0) close(fd);
        close(lock);
        return -1;
    }
    listeners()[path] = {fd, lock};
    return fd;
}

void make_blocking(int fd) { fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK); }

}  // namespace

Pipe *pipe_create(const char *name) {
    if (fail_now(kCallCreateNamedPipe)) return nullptr;
    const std::string path = socket_path(name);
    if (path.empty()) return nullptr;
    const int listener = listener_for(path);
    if (listener < 0) return nullptr;
    Pipe *p = new Pipe;
    p->listener = listener;
    return p;
}

int pipe_wait_client(Pipe *p, uint32_t timeoutMs, uint32_t pollMs, const int32_t *keepWaiting) {
    if (fail_now(kCallConnectNamedPipe)) return -1;
    struct timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (;;) {
        const int fd = accept4(p->listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd >= 0) {
            p->fd = fd;
            return 1;
        }
        const int e = errno;
        // Out of descriptors or buffers: the client stays queued until some are free again.
        const bool starved = e == EMFILE || e == ENFILE || e == ENOBUFS || e == ENOMEM;
        if (!starved && e != EAGAIN && !passing_accept_error(e)) return -1;
        if (!*keepWaiting) return 0;
        if (timeoutMs != 0) {
            struct timespec now;
            clock_gettime(CLOCK_MONOTONIC, &now);
            const int64_t ms =
                int64_t(now.tv_sec - start.tv_sec) * 1000 + (now.tv_nsec - start.tv_nsec) / 1000000;
            if (ms >= int64_t(timeoutMs)) return 0;
        }
        if (starved) poll(nullptr, 0, 100);
        else wait_poll(p->listener, POLLIN, pollMs);
    }
}

Pipe *pipe_open(const char *name) {
    if (fail_now(kCallCreatePipeClient)) return nullptr;
    const std::string path = socket_path(name);
    if (path.empty()) return nullptr;
    const int fd = connect_unix(path);
    if (fd < 0) return nullptr;
    make_blocking(fd);
    Pipe *p = new Pipe;
    p->fd = fd;
    return p;
}

uint32_t pipe_read_some(Pipe *p, void *buffer, uint32_t count, uint32_t intervalMs,
                        const int32_t *connected) {
    if (fail_now(kCallReadPipe) || count == 0) return 0;
    set_timeout(p->fd, SO_RCVTIMEO, &p->recvTimeout, intervalMs);
    for (;;) {
        const ssize_t n = recv(p->fd, buffer, count, 0);
        if (n > 0) return uint32_t(n);
        if (n == 0) return 0;
        if (errno == EAGAIN) {
            if (!*connected) return 0;
        } else if (errno != EINTR) {
            return 0;
        }
    }
}

bool pipe_write(Pipe *p, const void *buffer, uint32_t count, uint32_t intervalMs,
                const int32_t *connected) {
    if (fail_now(kCallWritePipe)) return false;
    set_timeout(p->fd, SO_SNDTIMEO, &p->sendTimeout, intervalMs);
    const char *at = static_cast<const char *>(buffer);
    while (count > 0) {
        const ssize_t n = send(p->fd, at, count, MSG_NOSIGNAL);
        if (n >= 0) {
            at += n;
            count -= uint32_t(n);
        } else if (errno == EAGAIN) {
            if (!*connected) return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

// A socket has no write-behind buffer of its own to drain.
void pipe_flush(Pipe *) {}

void pipe_disconnect(Pipe *p) {
    if (p->fd >= 0) shutdown(p->fd, SHUT_RDWR);
}

void pipe_close(Pipe *p) {
    if (!p) return;
    if (p->fd >= 0) close(p->fd);
    delete p;
}

}  // namespace plat
