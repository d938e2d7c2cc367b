#include "ipc/frames.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "ipc/server_state.h"

namespace tarn::ipc {
namespace {

constexpr uint32_t kOneWriteData = 4096;

koRequestHeader header_of(const unsigned char *frame) {
    koRequestHeader h;
    std::memcpy(&h, frame, sizeof h);
    return h;
}

void put_header(unsigned char *frame, const koRequestHeader &h) {
    std::memcpy(frame, &h, sizeof h);
}

void put_u32(unsigned char *at, uint32_t v) {
    at[0] = uint8_t(v);
    at[1] = uint8_t(v >> 8);
    at[2] = uint8_t(v >> 16);
    at[3] = uint8_t(v >> 24);
}

// Reads `count` bytes of which the first `keep` go to `into` and the rest are dropped.
bool read_keeping(koConnect &c, unsigned char *into, uint32_t keep, uint32_t count) {
    if (keep > 0 && !c.ReadBytes(into, keep)) return false;
    unsigned char scrap[4096];
    for (uint32_t rest = count - keep; rest > 0;) {
        const uint32_t n = std::min<uint32_t>(rest, sizeof scrap);
        if (!c.ReadBytes(scrap, n)) return false;
        rest -= n;
    }
    return true;
}

// "attach=" and the first 32 bytes of the login data, without blanks around the name.
void report_attach(const unsigned char *data, uint16_t dataLength, uint16_t id) {
    // A login shorter than 32 bytes names only what it sent, not what an earlier frame left.
    const size_t available = std::min<size_t>(dataLength, 32);
    char name[33] = "";
    std::memcpy(name, data, available);
    char text[48];
    std::snprintf(text, sizeof text, "attach=%32.32s", name);
    lstrtrim(text);
    llstrtrim(text + 7);
    report(kLogClientEvent | id, text);
}

}  // namespace

bool client_transaction(koConnect &c, uint16_t request, const void *data, uint16_t length,
                        void *reply, uint32_t capacity, uint16_t *replyLength) {
    // No data to send is the same as none announced.
    if (!data) length = 0;
    c.header.RequestId = request;
    c.header.UserDataLength = length;
    c.header.FrameMark = kRequestMark;
    // A small frame goes out in one write, so the server wakes once for it.
    // A failure of that combined write reports "Request::WriteBytes(RequestId)", as for the header.
    unsigned char small[kHeaderBytes + kOneWriteData];
    const bool oneWrite = length > 0 && length <= kOneWriteData;
    if (oneWrite) {
        std::memcpy(small, &c.header, kHeaderBytes);
        std::memcpy(small + kHeaderBytes, data, length);
    }
    if (!c.WriteBytes(oneWrite ? static_cast<const void *>(small) : &c.header,
                      oneWrite ? kHeaderBytes + length : kHeaderBytes)) {
        report(kLogConnection, "Request::WriteBytes(RequestId)");
        return false;
    }
    if (length > 0 && !oneWrite && !c.WriteBytes(data, length)) {
        report(kLogConnection, "Request::WriteBytes(UserData)");
        return false;
    }
    if (request == 0) return true;
    if (!c.ReadBytes(&c.header, kHeaderBytes)) {
        report(kLogConnection, "Request::ReadBytes(Returncode)");
        return false;
    }
    if (c.header.ClientID == 0xFFFF) {
        report(kLogConnection, "Request ClientID == 0xFFFF");
        return false;
    }
    const uint16_t replyBytes = c.header.UserDataLength;
    if (replyLength) *replyLength = replyBytes;
    // A reply longer than the buffer is read whole, so the next one starts where it should;
    // what does not fit is dropped.
    const uint32_t keep = reply ? std::min<uint32_t>(replyBytes, capacity) : 0;
    if (replyBytes > 0 && !read_keeping(c, static_cast<unsigned char *>(reply), keep, replyBytes)) {
        report(kLogConnection, "Request::ReadBytes(UserData)");
        return false;
    }
    return true;
}

Step serve_request(koConnect &c, unsigned char *frame) {
    ServerState &s = server();
    if (!c.connected || s.shutdown) return Step::End;
    if (!c.ReadBytes(frame, kHeaderBytes)) {
        report(kLogRequest, "Verbindung unterbrochen");
        return Step::End;
    }
    if (!c.connected || s.shutdown) return Step::End;
    koRequestHeader h = header_of(frame);
    if (h.FrameMark != kRequestMark) {
        report(kLogRequest, "Request Format falsch");
        return Step::End;
    }
    // More than the frame buffer holds cannot be a request of ours: the connection ends as
    // for data that never came.
    if (h.UserDataLength > kMaxUserData || !c.ReadBytes(frame + kHeaderBytes, h.UserDataLength)) {
        report(kLogRequest, "Request Daten fehlen");
        return Step::End;
    }

    const uint16_t request = h.RequestId;
    uint32_t acceptance = 1;
    bool builtIn = true;
    if (koRequestHandler handler = s.handler.load()) {
        const int32_t result = handler(frame);
        if (request == 1) acceptance = result == 0 ? 1 : 0;
        else if (result != 0) builtIn = false;
    }
    Step step = Step::Continue;
    h = header_of(frame);
    if (builtIn) {
        switch (request) {
        case 1: {
            const uint32_t now = uint32_t(std::time(nullptr));
            // The server end keeps its id in its own header, to free it when the connection ends.
            s.ids.release(c.header.ClientID);
            const uint16_t id = s.ids.acquire(now);
            c.serverClientId = now;
            c.header.ClientID = id;
            report_attach(frame + kHeaderBytes, h.UserDataLength, id);
            h.UserDataLength = 4;
            h.ClientID = id;
            put_u32(frame + kHeaderBytes, acceptance);
            break;
        }
        case 2:
            h.UserDataLength = 0;
            report(kLogClientEvent | h.ClientID, "deattach", 1);
            step = Step::End;
            break;
        case 30:
        case 31:
            report(kLogClientEvent | h.ClientID, "deattach");
            h.UserDataLength = 0;
            break;
        default: h.UserDataLength = 0; break;
        }
    }
    h.FrameMark = kReplyMark;
    put_header(frame, h);
    bool written = true;
    if (request != 0 && c.connected && !s.shutdown) {
        // A handler's reply longer than the buffer is not sent: the connection ends as after
        // a failed write.
        written = h.UserDataLength <= kMaxUserData &&
                  c.WriteBytes(frame, kHeaderBytes + h.UserDataLength);
    }
    // The shutdown requests take effect whether or not their reply reached the client.
    if (request == 30) {
        if (s.active == 1) shut_down_by_client();
        return Step::End;
    }
    if (request == 31) {
        shut_down_by_client();
        return Step::End;
    }
    return written ? step : Step::End;
}

}  // namespace tarn::ipc
