// tarn serve: a request server that answers an echo request and a status request, logging what
// the library reports to standard error, until a client shuts it down.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {
namespace {

std::atomic<void *> server{nullptr};

// Called on the connection threads, several at once.
int32_t TARN_CALL answer(void *frame) {
    koRequestHeader h;
    std::memcpy(&h, frame, sizeof h);
    char *data = static_cast<char *>(frame) + sizeof h;
    if (h.RequestId == kEchoRequest) return 1;  // the data as it came
    if (h.RequestId != kStatusRequest) return 0;
    uint32_t active = 0;
    koServerSockets(server.load(), &active, nullptr, 0);
    char when[32] = "";
    {
        static std::mutex clock;  // localtime's result is shared
        std::lock_guard<std::mutex> hold(clock);
        const std::time_t now = std::time(nullptr);
        std::strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", std::localtime(&now));
    }
    const int n = std::snprintf(data, 30000, "Time=%s;Active=%u;", when, unsigned(active));
    h.UserDataLength = uint16_t(n);
    std::memcpy(frame, &h, sizeof h);
    return 1;
}

void TARN_CALL log_to_stderr(uint32_t code, const char *text, uint32_t flag) {
    if (code & 0x01000000u)
        std::fprintf(stderr, "client %u: %s%s\n", unsigned(code & 0xFFFFu), text,
                     flag ? " (logout)" : "");
    else std::fprintf(stderr, "%u: %s\n", unsigned(code), text);
}

}  // namespace

bool parse_port(const std::string &text, uint16_t *port) {
    char *end = nullptr;
    const long n = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || n < 1 || n > 65535) return false;
    *port = uint16_t(n);
    return true;
}

int run_serve(const Args &args) {
    const Command &cmd = command("serve");
    uint16_t port = 0;
    uint16_t flags = 0;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--port") {
            if (i + 1 >= args.size() || !parse_port(args[++i], &port))
                return usage_error(cmd, "--port needs a number from 1 to 65535");
        } else if (args[i] == "--tcp") {
            flags |= KO_SERVER_SOCKETS;
        } else if (args[i] == "--pipe") {
            flags |= KO_SERVER_PIPES;
        } else {
            return usage_error(cmd, "unknown argument \"" + args[i] + "\"");
        }
    }
    if (!port) return usage_error(cmd, "expects --port N");
    if (!flags) flags = KO_SERVER_SOCKETS | KO_SERVER_PIPES;
    koInitIP();
    void *s = koServerCreate(port, flags, answer, log_to_stderr);
    if (!s) {
        std::fprintf(stderr, "tarn serve: cannot serve on port %u\n", unsigned(port));
        koExitIP();
        return kFailure;
    }
    server = s;
    std::fprintf(stderr,
                 "serving port %u (%s%s%s); request %u echoes, %u tells time and connections\n",
                 unsigned(port), flags & KO_SERVER_SOCKETS ? "tcp" : "", flags == 3 ? ", " : "",
                 flags & KO_SERVER_PIPES ? "pipe" : "", unsigned(kEchoRequest),
                 unsigned(kStatusRequest));
    while (koServerIsRunning(s)) std::this_thread::sleep_for(std::chrono::milliseconds(200));
    koServerCleanup(s);
    koExitIP();
    return kOk;
}

}  // namespace tarn_tool
