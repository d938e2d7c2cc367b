// tarn memo: memo texts and files in the applications' compressed format (magic 0x2649).
#include <cstdint>
#include <cstdio>
#include <string>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {
namespace {

struct Header {
    uint32_t tableSize = 0;
    uint32_t length = 0;
};

uint32_t le(const std::string &s, size_t at, int bytes) {
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i) v = v << 8 | static_cast<unsigned char>(s[at + size_t(i)]);
    return v;
}

// Magic, table size and the table itself present; a message on stderr otherwise.
bool read_header(const std::string &path, const std::string &data, Header *h) {
    if (data.size() >= 8 && le(data, 0, 2) == 0x2649 && le(data, 2, 2) <= 29 &&
        data.size() >= 8 + le(data, 2, 2)) {
        h->tableSize = le(data, 2, 2);
        h->length = le(data, 4, 4);
        // A byte of codes gives at most 16 bytes of text: a longer text cannot be in the stream.
        if (uint64_t(h->length) <= 16 * uint64_t(data.size())) return true;
    }
    std::fprintf(stderr, "tarn memo: %s is not a compressed stream\n", path.c_str());
    return false;
}

int compress(const Args &args) {
    std::string data;
    if (!read_input(args[0], &data)) return kFailure;
    if (data.size() > UINT32_MAX) {
        std::fprintf(stderr, "tarn memo: %s is larger than 4 GiB\n", args[0].c_str());
        return kFailure;
    }
    const uint32_t n = uint32_t(data.size());
    // The library refuses an empty text but leaves its header behind: that is written, as the
    // stream of an empty memo.
    std::string out(n ? koMemoCompress(data.data(), n, nullptr, 0) : 8, '\0');
    koMemoCompress(data.data(), n, &out[0], uint32_t(out.size()));
    return write_output(args[1], out) ? kOk : kFailure;
}

int expand(const Args &args) {
    std::string data;
    Header h;
    if (!read_input(args[0], &data) || !read_header(args[0], data, &h)) return kFailure;
    std::string out(h.length, '\0');
    if (h.length &&
        koMemoExpand(data.data(), uint32_t(data.size()), &out[0], h.length) != h.length) {
        std::fprintf(stderr, "tarn memo: %s is damaged or cut short\n", args[0].c_str());
        return kFailure;
    }
    return write_output(args[1], out) ? kOk : kFailure;
}

int info(const Args &args) {
    std::string data;
    Header h;
    if (!read_input(args[0], &data) || !read_header(args[0], data, &h)) return kFailure;
    // A capacity of 0 expands without storing: the whole stream is checked.
    const bool whole =
        h.length == 0 || koMemoExpand(data.data(), uint32_t(data.size()), nullptr, 0) == h.length;
    std::printf("table size       %u\n", h.tableSize);
    std::printf("original length  %u\n", h.length);
    std::printf("compressed       %zu\n", data.size());
    if (h.length) std::printf("ratio            %.1f %%\n", 100.0 * double(data.size()) / h.length);
    if (!whole) {
        std::fprintf(stderr, "tarn memo: %s is damaged or cut short\n", args[0].c_str());
        return kFailure;
    }
    return kOk;
}

}  // namespace

int run_memo(const Args &args) {
    const Command &cmd = command("memo");
    if (args.empty()) return usage_error(cmd, "expects compress, expand or info");
    const Args rest(args.begin() + 1, args.end());
    if (args[0] == "compress" || args[0] == "expand") {
        if (rest.size() != 2) return usage_error(cmd, args[0] + " expects IN and OUT");
        return args[0] == "compress" ? compress(rest) : expand(rest);
    }
    if (args[0] == "info") {
        if (rest.size() != 1) return usage_error(cmd, "info expects one FILE");
        return info(rest);
    }
    return usage_error(cmd, "unknown action \"" + args[0] + "\"");
}

}  // namespace tarn_tool
