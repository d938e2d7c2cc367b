// Round trips through the request service, beside a minimal blocking echo over a plain socket
// in the same run: loopback TCP beside the service's TCP transport, a Unix socket pair beside
// its pipe transport. One connection, and 16 at once.
#include <benchmark/benchmark.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "tarngdi32.h"

namespace {

constexpr uint16_t kEcho = 100;
constexpr size_t kPayload = 64;
constexpr int kTrips = 20000;  // per connection
using Clock = std::chrono::steady_clock;

int32_t TARN_CALL echo_handler(void *frame) {
    return static_cast<koRequestHeader *>(frame)->RequestId == kEcho ? 1 : 0;
}

// The service of this process, on the first free port from 40900.
uint16_t service_port() {
    static const uint16_t port = [] {
        koInitIP();
        for (uint16_t p = 40900; p < 42000; p += 10)
            if (koServerCreate(p, KO_SERVER_SOCKETS | KO_SERVER_PIPES, echo_handler, nullptr))
                return p;
        return uint16_t(0);
    }();
    return port;
}

// Runs `trips` round trips on each of `links` connections at once (each `trip(i)` one round
// trip on connection i); the seconds from the start of all to the end of the last, or -1.
double run_at_once(int links, int trips, const std::function<bool(int)> &trip) {
    std::atomic<bool> go{false}, failed{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < links; ++i) {
        threads.emplace_back([&, i] {
            while (!go) std::this_thread::yield();
            for (int n = 0; n < trips && !failed; ++n)
                if (!trip(i)) failed = true;
        });
    }
    const auto t0 = Clock::now();
    go = true;
    for (auto &t : threads) t.join();
    const double s = std::chrono::duration<double>(Clock::now() - t0).count();
    return failed ? -1 : s;
}

double service_seconds(uint16_t transport, int links, int trips) {
    std::vector<void *> clients;
    for (int i = 0; i < links; ++i) {
        void *c = nullptr;
        // A busy pipe or a full backlog refuses at once: try again.
        for (int tries = 0; !c && tries < 2000; ++tries) {
            c = koClientCreate(service_port(), transport,
                               transport == KO_CLIENT_SOCKET ? "#127.0.0.1" : ".");
            if (!c) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        if (!c) break;
        clients.push_back(c);
    }
    double s = -1;
    if (int(clients.size()) == links) {
        s = run_at_once(links, trips, [&](int i) {
            char data[kPayload], reply[kPayload];
            std::memset(data, 'a' + i, sizeof data);
            uint16_t length = 0;
            return koClientRequest(clients[size_t(i)], kEcho, data, kPayload, reply, kPayload,
                                   &length) == 1 &&
                   length == kPayload;
        });
    }
    for (void *c : clients) {
        koClientLogout(c);
        koClientCleanup(c);
    }
    return s;
}

bool exact(ssize_t (*io)(int, void *, size_t, int), int fd, char *buf, size_t n) {
    for (size_t at = 0; at < n;) {
        const ssize_t r = io(fd, buf + at, n - at, 0);
        if (r <= 0) return false;
        at += size_t(r);
    }
    return true;
}
ssize_t recv_io(int fd, void *b, size_t n, int f) { return recv(fd, b, n, f); }
ssize_t send_io(int fd, void *b, size_t n, int f) { return send(fd, b, n, f | MSG_NOSIGNAL); }

// Connected pairs (client end, server end): loopback TCP with TCP_NODELAY, or Unix socket pairs.
bool plain_pair(bool tcp, int *client, int *server) {
    if (!tcp) {
        int fds[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) return false;
        *client = fds[0];
        *server = fds[1];
        return true;
    }
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    if (bind(listener, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0 ||
        listen(listener, 1) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr *>(&a), &len) != 0) {
        close(listener);
        return false;
    }
    *client = socket(AF_INET, SOCK_STREAM, 0);
    const bool ok = connect(*client, reinterpret_cast<sockaddr *>(&a), sizeof a) == 0 &&
                    (*server = accept(listener, nullptr, nullptr)) >= 0;
    close(listener);
    const int on = 1;
    setsockopt(*client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (ok) setsockopt(*server, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return ok;
}

double plain_seconds(bool tcp, int links, int trips) {
    std::vector<int> clients(size_t(links), -1), servers(size_t(links), -1);
    for (int i = 0; i < links; ++i)
        if (!plain_pair(tcp, &clients[size_t(i)], &servers[size_t(i)])) return -1;
    std::vector<std::thread> echoes;
    for (int fd : servers) {
        echoes.emplace_back([fd] {
            char buf[kPayload];
            while (exact(recv_io, fd, buf, kPayload) && exact(send_io, fd, buf, kPayload)) {}
        });
    }
    const double s = run_at_once(links, trips, [&](int i) {
        char data[kPayload], reply[kPayload];
        std::memset(data, 'a' + i, sizeof data);
        return exact(send_io, clients[size_t(i)], data, kPayload) &&
               exact(recv_io, clients[size_t(i)], reply, kPayload);
    });
    for (int fd : clients) shutdown(fd, SHUT_RDWR);
    for (auto &t : echoes) t.join();
    for (int fd : clients) close(fd);
    for (int fd : servers) close(fd);
    return s;
}

// state.range(0): transport (1 TCP, 2 pipe), range(1): connections at once.
void BM_RoundTrips(benchmark::State &state) {
    const uint16_t transport = uint16_t(state.range(0));
    const int links = int(state.range(1));
    if (!service_port()) {
        state.SkipWithError("no free port for the service");
        return;
    }
    // Each side's best of the iterations, taken in turn: a busy moment slows both alike.
    double ours = 1e30, plain = 1e30;
    for (auto _ : state) {
        const double o = service_seconds(transport, links, kTrips);
        const double p = plain_seconds(transport == KO_CLIENT_SOCKET, links, kTrips);
        if (o < 0 || p < 0) {
            state.SkipWithError("a round trip failed");
            return;
        }
        ours = std::min(ours, o);
        plain = std::min(plain, p);
        state.SetIterationTime(o);
    }
    const double trips = double(kTrips) * links;
    state.counters["rt/s"] = trips / ours;
    state.counters["plain_rt/s"] = trips / plain;
    state.counters["vs_plain"] = plain / ours;  // goal: 0.9 or more
}

}  // namespace

BENCHMARK(BM_RoundTrips)
    ->ArgNames({"transport", "connections"})
    ->Args({KO_CLIENT_SOCKET, 1})
    ->Args({KO_CLIENT_PIPE, 1})
    ->Args({KO_CLIENT_SOCKET, 16})
    ->Args({KO_CLIENT_PIPE, 16})
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
