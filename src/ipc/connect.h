// The connection classes: one byte stream over a named pipe or a TCP socket, client or server
// end. Each object is used by one thread, opened once and closed once.
#pragma once
#include <cstdint>

#include "platform/net.h"
#include "tarngdi32.h"

namespace tarn::ipc {

constexpr uint16_t kRequestMark = 0x2511;
constexpr uint16_t kReplyMark = 0x1161;
constexpr uint32_t kMaxUserData = 30000;
constexpr uint32_t kHeaderBytes = 8;
constexpr uint32_t kFrameBytes = kHeaderBytes + kMaxUserData;
static_assert(sizeof(koRequestHeader) == kHeaderBytes, "the frame header is 8 bytes");

class koConnect {
public:
    // The four operations keep this slot order in every class; all answer 1 or 0.
    virtual int32_t Open(const char *host, uint16_t port, uint32_t timeout, uint32_t interval);
    virtual int32_t Close();
    virtual int32_t ReadBytes(void *buffer, uint32_t count);
    virtual int32_t WriteBytes(const void *buffer, uint32_t count);
    virtual ~koConnect();

    const char *host = nullptr;  // as given to Open; nothing reads it afterwards
    uint32_t port = 0;
    uint32_t timeout = 0;   // seconds
    uint32_t interval = 0;  // milliseconds between completion polls
    int32_t connected = 0;
    uint32_t serverClientId = 0;  // the time from which the server derived the id it handed out
    koRequestHeader header = {};  // a client's last frame; ClientID keeps the login's id
    unsigned char *replyStaging = nullptr;  // a client's reply buffer (malloc), kMaxUserData bytes

protected:
    // ReadBytes over ReadSome: a short read takes what has come, up to a buffer's worth, so a
    // frame's header and data usually arrive in one system call. Only this end reads the
    // connection, so bytes read ahead are simply the next ones asked for.
    int32_t ReadBuffered(void *buffer, uint32_t count);
    // At least one byte and at most `count` from the transport: how many, 0 on failure.
    virtual uint32_t ReadSome(void *buffer, uint32_t count);

private:
    static constexpr uint32_t kReadAhead = 4096;
    uint32_t aheadAt_ = 0, aheadEnd_ = 0;
    unsigned char ahead_[kReadAhead];
};

class koConnectPipe : public koConnect {
public:
    int32_t ReadBytes(void *buffer, uint32_t count) override;
    int32_t WriteBytes(const void *buffer, uint32_t count) override;
    ~koConnectPipe() override;

    plat::Pipe *pipe = nullptr;

protected:
    uint32_t ReadSome(void *buffer, uint32_t count) override;
};

class koPipeClient : public koConnectPipe {
public:
    int32_t Open(const char *host, uint16_t port, uint32_t timeout, uint32_t interval) override;
    int32_t Close() override;
};

// Open waits for a client on the instance in `pipe` when it already holds one (the one the
// server made before koServerCreate returned), else on a new one.
class koPipeServer : public koConnectPipe {
public:
    int32_t Open(const char *host, uint16_t port, uint32_t timeout, uint32_t interval) override;
    int32_t Close() override;

    // A new server instance of the pipe for `port`; null, reported as a connection failure
    // naming the pipe, when the system refuses it.
    static plat::Pipe *CreateInstance(uint16_t port);
};

class koConnectSocket : public koConnect {
public:
    int32_t ReadBytes(void *buffer, uint32_t count) override;
    int32_t WriteBytes(const void *buffer, uint32_t count) override;
    ~koConnectSocket() override;

    plat::Socket socket = plat::kNoSocket;
    plat::SockAddr4 peer = {};
    uint32_t receiveWait = 0;  // the receive wait last given to the socket

protected:
    uint32_t ReadSome(void *buffer, uint32_t count) override;
};

class koSocketClient : public koConnectSocket {
public:
    int32_t Open(const char *host, uint16_t port, uint32_t timeout, uint32_t interval) override;
    int32_t Close() override;
};

class koSocketServer : public koConnectSocket {
public:
    int32_t Open(const char *host, uint16_t port, uint32_t timeout, uint32_t interval) override;
    int32_t Close() override;

    // The server's listening socket this end is to be accepted from, and that socket's
    // generation (see ServerState); set before Open.
    plat::Socket listener = plat::kNoSocket;
    uint32_t listenerGeneration = 0;
};

}  // namespace tarn::ipc
