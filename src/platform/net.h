// Stream sockets and named pipes for the request service.
//
// Sockets are the Winsock 1.1 calls on Windows and BSD sockets elsewhere; errors come back as
// WSA numbers on both. A named pipe is a real pipe instance on Windows; elsewhere a Unix domain
// socket named after the pipe in the runtime folder, one listener per name and process, where
// each server "instance" is one accepted connection.
#pragma once
#include <cstdint>

namespace plat {

using Socket = uintptr_t;
constexpr Socket kNoSocket = ~Socket(0);

// The IPv4 socket address as the system keeps it: family 2, port and address in network order,
// 8 zero bytes.
struct SockAddr4 {
    uint16_t family;
    uint16_t port;
    uint32_t address;
    uint8_t zero[8];
};
static_assert(sizeof(SockAddr4) == 16, "an IPv4 socket address is 16 bytes");

bool net_startup();  // WSAStartup for version 1.1
bool net_cleanup();  // WSACleanup
// The last socket error of the calling thread as a WSA number (10035 for "would block", ...).
int socket_error();

Socket tcp_socket();  // IPv4 stream socket, kNoSocket on failure
// Binds to any local address and `port`; on POSIX with SO_REUSEADDR, so a restarted server
// does not wait out the TIME_WAIT of its last connections.
bool bind_any(Socket s, uint16_t port);
bool listen_socket(Socket s, int backlog);
// Blocks until a connection arrives or the listener is shut down or closed; kNoSocket on
// failure. A pending connection that went away before it was taken (reset, aborted, its network
// gone) and an interrupted wait are passed over: the call goes on waiting for the next one.
Socket accept_socket(Socket listener, SockAddr4 *peer);
bool connect_socket(Socket s, const SockAddr4 &to);
// The first IPv4 address of a host name (gethostbyname), in network order.
bool resolve_host(const char *name, uint32_t *address);
// A dotted IPv4 address (inet_addr), in network order.
bool parse_dotted(const char *text, uint32_t *address);
SockAddr4 ipv4_address(uint32_t address, uint16_t port);
// Small frames go out at once: without it every request waits for the delayed ACK.
void set_no_delay(Socket s);
// Waits until the socket is readable (or writable): 1 ready, 0 timed out, -1 failed.
int wait_socket(Socket s, bool forWrite, uint32_t timeoutMs);
int recv_socket(Socket s, void *buffer, int count);        // bytes, 0 when closed, -1 failed
int send_socket(Socket s, const void *buffer, int count);  // bytes, -1 failed; never SIGPIPE
constexpr int kWouldBlock = -2;
// As recv_socket, but waits at most `timeoutMs` for the first byte: kWouldBlock when none came.
// `*timeoutSet` is the caller's record of the wait last given to this socket (0 at first), so
// that an unchanged one costs nothing.
int recv_socket_within(Socket s, void *buffer, int count, uint32_t timeoutMs, uint32_t *timeoutSet);
// As send_socket, but kWouldBlock instead of waiting. Where asking costs as much as waiting
// (Winsock) it answers kWouldBlock without asking; callers then wait and call send_socket.
int try_send_socket(Socket s, const void *buffer, int count);
// Closes a socket; a thread blocked in accept on it returns with an error.
bool close_socket(Socket s);
// Closes without the orderly end: the peer's next read or write fails with a reset.
void reset_socket(Socket s);
// Shuts a socket down in both directions without closing it: a thread blocked in accept on a
// listening socket wakes (where the system does that), and the socket's number stays taken.
void shutdown_socket(Socket s);
// Sets the calling thread's last socket error (a WSA number), for a failure found by the caller.
void set_socket_error(int wsaError);

struct Pipe;

// Creates one server instance of `name` ("\\.\pipe\KELVO_00185"): duplex, byte mode,
// unlimited instances, 512-byte buffers; null on failure.
Pipe *pipe_create(const char *name);
// Waits for a client on the instance, `pollMs` at a time, for at most `timeoutMs` (0: no
// limit) and while `*keepWaiting` is non-zero: 1 connected, 0 gave up, -1 failed.
int pipe_wait_client(Pipe *p, uint32_t timeoutMs, uint32_t pollMs, const int32_t *keepWaiting);
// Opens the server's pipe `name` ("\\HOST\pipe\KELVO_00185") for reading and writing; null at
// once when the server is missing or no instance is free.
Pipe *pipe_open(const char *name);
// Writes exactly `count` bytes, waiting on the pipe at most `intervalMs` at a time and giving
// up once `*connected` is 0; false on any failure (the other end gone included).
bool pipe_write(Pipe *p, const void *buffer, uint32_t count, uint32_t intervalMs,
                const int32_t *connected);
// Reads what has come, waiting as pipe_write does: how many bytes (1 to `count`), 0 on failure.
uint32_t pipe_read_some(Pipe *p, void *buffer, uint32_t count, uint32_t intervalMs,
                        const int32_t *connected);
void pipe_flush(Pipe *p);       // until the other end has read what was written
void pipe_disconnect(Pipe *p);  // server end: drops the client
void pipe_close(Pipe *p);       // closes and frees; null is ignored

}  // namespace plat
