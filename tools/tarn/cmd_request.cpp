// tarn request and tarn shutdown: a client of a request server.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {
namespace {

struct ClientOptions {
    uint16_t port = 0;
    std::string host;
    bool pipe = false;
    bool force = false;
    Args rest;
};

// --port N, --host H, --pipe (and --force where allowed); the other arguments in `rest`.
int parse_client(const Command &cmd, const Args &args, bool forceAllowed, ClientOptions *o) {
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--port") {
            if (i + 1 >= args.size() || !parse_port(args[++i], &o->port))
                return usage_error(cmd, "--port needs a number from 1 to 65535");
        } else if (args[i] == "--host") {
            if (i + 1 >= args.size()) return usage_error(cmd, "--host needs a name");
            o->host = args[++i];
        } else if (args[i] == "--pipe") {
            o->pipe = true;
        } else if (args[i] == "--force" && forceAllowed) {
            o->force = true;
        } else {
            o->rest.push_back(args[i]);
        }
    }
    if (!o->port) return usage_error(cmd, "expects --port N");
    if (o->host.empty()) o->host = o->pipe ? "." : "localhost";
    return kOk;
}

void *connect(const ClientOptions &o) {
    koInitIP();
    void *c = koClientCreate(o.port, o.pipe ? KO_CLIENT_PIPE : KO_CLIENT_SOCKET, o.host.c_str());
    if (!c) {
        std::fprintf(stderr, "tarn: no server at %s port %u (%s)\n", o.host.c_str(),
                     unsigned(o.port), o.pipe ? "pipe" : "tcp");
        koExitIP();
    }
    return c;
}

void disconnect(void *c) {
    koClientCleanup(c);
    koExitIP();
}

}  // namespace

int run_request(const Args &args) {
    const Command &cmd = command("request");
    ClientOptions o;
    if (const int rc = parse_client(cmd, args, false, &o); rc != kOk) return rc;
    if (o.rest.empty() || o.rest.size() > 2)
        return usage_error(cmd, "expects ID and at most one DATA");
    char *end = nullptr;
    const long id = std::strtol(o.rest[0].c_str(), &end, 10);
    if (o.rest[0].empty() || *end || id < 0 || id > 65535)
        return usage_error(cmd, "ID must be a number from 0 to 65535");
    const std::string data = o.rest.size() > 1 ? o.rest[1] : std::string();
    if (data.size() > 30000) return usage_error(cmd, "DATA holds at most 30000 bytes");
    void *c = connect(o);
    if (!c) return kFailure;
    if (!koClientLogin(c, "tarn", "request")) {
        std::fprintf(stderr, "tarn request: the server refused the login\n");
        disconnect(c);
        return kFailure;
    }
    std::vector<char> reply(30000);
    uint16_t length = 0;
    const int32_t ok = koClientRequest(c, uint32_t(id), data.data(), uint32_t(data.size()),
                                       reply.data(), uint16_t(reply.size()), &length);
    if (ok && length > 0) {
        std::fwrite(reply.data(), 1, length, stdout);
        std::fputc('\n', stdout);
    }
    if (!ok) std::fprintf(stderr, "tarn request: request %ld failed\n", id);
    // Requests 2, 30 and 31 end the connection themselves; there is nothing left to log out of.
    if (ok && id != 2 && id != 30 && id != 31) koClientLogout(c);
    disconnect(c);
    return ok ? kOk : kFailure;
}

int run_shutdown(const Args &args) {
    const Command &cmd = command("shutdown");
    ClientOptions o;
    if (const int rc = parse_client(cmd, args, true, &o); rc != kOk) return rc;
    if (!o.rest.empty()) return usage_error(cmd, "unknown argument \"" + o.rest[0] + "\"");
    void *c = connect(o);
    if (!c) return kFailure;
    const int32_t ok = koClientShutServerDown(c, o.force ? 1 : 0);
    if (!ok) std::fprintf(stderr, "tarn shutdown: the request failed\n");
    else if (!o.force)
        std::fprintf(
            stderr,
            "asked without --force: the server stops only if this was its one connection\n");
    disconnect(c);
    return ok ? kOk : kFailure;
}

}  // namespace tarn_tool
