// The request frame exchanged over a connection: a client's transaction and the server's
// handling of one request.
#pragma once
#include <cstdint>

#include "ipc/connect.h"

namespace tarn::ipc {

// Sends request `request` with `length` data bytes and, unless the request is 0, reads the
// reply: its length goes to *replyLength, at most `capacity` of its bytes to `reply`.
bool client_transaction(koConnect &c, uint16_t request, const void *data, uint16_t length,
                        void *reply, uint32_t capacity, uint16_t *replyLength);

enum class Step { Continue, End };

// Reads one request into `frame` (kFrameBytes), lets the handler or the built-in requests
// answer it and writes the reply.
Step serve_request(koConnect &c, unsigned char *frame);

}  // namespace tarn::ipc
