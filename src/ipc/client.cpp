// The client exports: a connection object per client handle.
#include "export.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "ipc/connect.h"
#include "ipc/frames.h"

using namespace tarn::ipc;

namespace {

koConnect *client_of(void *handle) { return static_cast<koConnect *>(handle); }

// Replies are received whole into a staging buffer unless the caller's buffer can take the
// largest one. The connection keeps it from its first request on (one allocation, not one per
// request); it comes from the heap, not the tracked blocks: their counters are unguarded and
// clients run on many threads at once. Without one, the reply goes to the caller's buffer.
int32_t request(koConnect *c, uint32_t number, const void *data, uint32_t length, void *reply,
                uint16_t replySize, uint16_t *replyLength) {
    uint16_t received = 0;
    const uint32_t size = reply ? replySize : 0;
    void *into = reply;
    uint32_t capacity = size;
    if (size < kMaxUserData) {
        if (!c->replyStaging)
            c->replyStaging = static_cast<unsigned char *>(std::malloc(kMaxUserData));
        if (c->replyStaging) {
            into = c->replyStaging;
            capacity = kMaxUserData;
        }
    }
    const bool ok =
        client_transaction(*c, uint16_t(number), data, uint16_t(length), into, capacity, &received);
    if (ok && received > 0 && reply && into != reply)
        std::memcpy(reply, c->replyStaging, std::min<uint32_t>(size, received));
    if (replyLength) *replyLength = received;
    return ok ? 1 : 0;
}

void copy_login_text(unsigned char *field, const char *text) {
    if (!text) return;
    const size_t n = std::min<size_t>(std::strlen(text), 31);
    std::memcpy(field, text, n);
}

}  // namespace

TARN_API void *TARN_CALL koClientCreate(uint16_t port, uint16_t transport, const char *host) {
    koConnect *c = nullptr;
    if (transport == KO_CLIENT_SOCKET) c = new (std::nothrow) koSocketClient;
    else if (transport == KO_CLIENT_PIPE) c = new (std::nothrow) koPipeClient;
    if (!c) return nullptr;
    if (!c->Open(host, port, 5, 1)) {
        delete c;
        return nullptr;
    }
    return c;
}

TARN_API int32_t TARN_CALL koClientLogin(void *client, const char *name, const char *second) {
    koConnect *c = client_of(client);
    if (!c) return 0;
    unsigned char login[64] = {};
    copy_login_text(login, name);
    copy_login_text(login + 32, second);
    unsigned char acceptance[4] = {};
    if (!request(c, 1, login, sizeof login, acceptance, sizeof acceptance, nullptr)) return 0;
    if (acceptance[0] | acceptance[1] | acceptance[2] | acceptance[3]) return 1;
    request(c, 2, nullptr, 0, nullptr, 0, nullptr);
    return 0;
}

TARN_API int32_t TARN_CALL koClientLogout(void *client) {
    koConnect *c = client_of(client);
    return c ? request(c, 2, nullptr, 0, nullptr, 0, nullptr) : 0;
}

TARN_API int32_t TARN_CALL koClientRequest(void *client, uint32_t number, const void *data,
                                           uint32_t length, void *reply, uint16_t replySize,
                                           uint16_t *replyLength) {
    koConnect *c = client_of(client);
    if (!c) {
        if (replyLength) *replyLength = 0;
        return 0;
    }
    return request(c, number, data, length, reply, replySize, replyLength);
}

TARN_API int32_t TARN_CALL koClientShutServerDown(void *client, int32_t force) {
    koConnect *c = client_of(client);
    return c ? request(c, force ? 31 : 30, nullptr, 0, nullptr, 0, nullptr) : 0;
}

TARN_API int32_t TARN_CALL koClientCleanup(void *client) {
    koConnect *c = client_of(client);
    if (!c) return 0;
    c->Close();
    delete c;
    return 1;
}
