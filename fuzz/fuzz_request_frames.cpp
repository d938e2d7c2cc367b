// Request frames from any client on the network: the server end of a connection reads the
// fuzzed bytes as one request after another until they run out or a frame ends the connection,
// and every reply it writes is a whole reply frame. The client end reads fuzzed replies the same
// way. No socket: the connection is a byte stream in memory.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ipc/connect.h"
#include "ipc/frames.h"
#include "ipc/server_state.h"

namespace {

using namespace tarn::ipc;

void check(bool ok) {
    if (!ok) std::abort();
}

class MemoryConnection : public koConnect {
public:
    MemoryConnection(const uint8_t *data, size_t size) : data_(data), size_(size) { connected = 1; }

    int32_t Open(const char *, uint16_t, uint32_t, uint32_t) override { return 1; }
    int32_t Close() override { return 1; }

    int32_t ReadBytes(void *buffer, uint32_t count) override {
        if (size_ - at_ < count) {
            at_ = size_;
            return 0;
        }
        std::memcpy(buffer, data_ + at_, count);
        // The shutdown requests sleep and end the server for the process; the harness turns
        // them into plain requests so that every input starts from a running server.
        if (buffer == frameStart) {
            koRequestHeader h;
            std::memcpy(&h, buffer, sizeof h);
            if (h.RequestId == 30 || h.RequestId == 31) h.RequestId = uint16_t(h.RequestId + 100);
            std::memcpy(buffer, &h, sizeof h);
        }
        at_ += count;
        return 1;
    }

    int32_t WriteBytes(const void *buffer, uint32_t count) override {
        written.insert(written.end(), static_cast<const uint8_t *>(buffer),
                       static_cast<const uint8_t *>(buffer) + count);
        return 1;
    }

    const void *frameStart = nullptr;  // where the server reads each request header
    std::vector<uint8_t> written;

private:
    const uint8_t *data_;
    size_t size_;
    size_t at_ = 0;
};

// Answers requests from 100 on with a reply whose length the request's first two data bytes
// give (a length beyond the frame is never sent); request 1 is refused for odd first bytes.
int32_t TARN_CALL handler(void *frame) {
    auto *bytes = static_cast<unsigned char *>(frame);
    koRequestHeader h;
    std::memcpy(&h, bytes, sizeof h);
    if (h.RequestId == 1) return h.UserDataLength > 0 && (bytes[kHeaderBytes] & 1);
    if (h.RequestId < 100 || h.UserDataLength < 2) return 0;
    const uint16_t length = uint16_t(bytes[kHeaderBytes] | bytes[kHeaderBytes + 1] << 8);
    std::memset(bytes + kHeaderBytes, 'r', std::min<uint32_t>(length, kMaxUserData));
    h.UserDataLength = length;
    std::memcpy(bytes, &h, sizeof h);
    return 1;
}

void TARN_CALL log_proc(uint32_t, const char *text, uint32_t) { check(std::strlen(text) < 100); }

void serve(const uint8_t *data, size_t size) {
    ServerState &s = server();
    s.handler = handler;
    s.log = log_proc;
    MemoryConnection c(data, size);
    std::vector<unsigned char> frame(kFrameBytes);
    c.frameStart = frame.data();
    int requests = 0;
    while (serve_request(c, frame.data()) == Step::Continue) check(++requests <= int(size / 8));
    s.ids.release(c.header.ClientID);
    // Every reply is a header with the reply mark and as many data bytes as it announces.
    for (size_t at = 0; at < c.written.size();) {
        check(c.written.size() - at >= kHeaderBytes);
        koRequestHeader h;
        std::memcpy(&h, c.written.data() + at, sizeof h);
        check(h.FrameMark == kReplyMark && h.UserDataLength <= kMaxUserData);
        at += kHeaderBytes + h.UserDataLength;
        check(at <= c.written.size());
    }
}

void read_reply(const uint8_t *data, size_t size) {
    MemoryConnection c(data, size);
    unsigned char reply[64];
    uint16_t replyLength = 0;
    const char request[] = "x";
    while (client_transaction(c, 5, request, 1, reply, sizeof reply, &replyLength)) {}
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    if (data[0] & 1) read_reply(data + 1, size - 1);
    else serve(data + 1, size - 1);
    return 0;
}
