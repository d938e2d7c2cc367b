// Arbitrary bytes as a compressed stream. koMemoExpand with a small and a large destination and
// koExRleExpand over a callback must agree on the result and on every byte stored; the
// sanitizers see that no read or write leaves the buffers, which are allocated to the byte.
// Besides the bytes as they are, each input also goes in behind a valid magic, repeated to a
// length the word-wise decoders need before they start.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "tarngdi32.h"

namespace {

struct Stream {
    const uint8_t *in;
    size_t size, pos;
    std::vector<uint8_t> out;
};

int32_t TARN_CALL stream_io(unsigned char *byte, int32_t op, void *context) {
    auto &s = *static_cast<Stream *>(context);
    if (op == TARN_RLE_RESTART) s.pos = 0;
    if (op == TARN_RLE_RESTART || op == TARN_RLE_NEXT) {
        if (s.pos >= s.size) return 0;
        *byte = s.in[s.pos++];
        return 1;
    }
    if (op == TARN_RLE_PUT) s.out.push_back(*byte);
    return 1;
}

void check(bool ok) {
    if (!ok) std::abort();
}

// koMemoExpand into exactly `cap` bytes: the result and the stored bytes must be the callback's.
void expand_into(const uint8_t *data, size_t size, uint32_t cap, const Stream &reference,
                 int32_t referenceResult) {
    std::unique_ptr<uint8_t[]> dst(new uint8_t[cap]);
    std::memset(dst.get(), 0xA5, cap);
    const uint32_t result = koMemoExpand(data, uint32_t(size), dst.get(), cap);
    check(result == (referenceResult ? reference.out.size() : 0));
    const size_t stored = reference.out.size() < cap ? reference.out.size() : cap;
    check(stored == 0 || std::memcmp(dst.get(), reference.out.data(), stored) == 0);
    for (size_t i = stored; i < cap; ++i) check(dst[i] == 0xA5);
}

void expand_all(const uint8_t *data, size_t size) {
    // Each nibble gives at most 16 bytes, so the reference output stays small.
    Stream reference{data, size, 0, {}};
    const int32_t result = koExRleExpand(stream_io, &reference);
    expand_into(data, size, uint32_t(size % 61), reference, result);
    expand_into(data, size, uint32_t(reference.out.size() + 7), reference, result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    expand_all(data, size);
    if (size < 6) return 0;
    // Magic, a table size of at most 29 and a length the first byte keeps below 64 KiB or
    // 16 MiB or not; the rest of the input gives table and codes.
    std::vector<uint8_t> stream = {0x49,
                                   0x26,
                                   uint8_t(data[0] % 30),
                                   0,
                                   data[1],
                                   data[2],
                                   uint8_t(data[0] & 0x40 ? data[3] : 0),
                                   uint8_t(data[0] & 0x80 ? data[4] : 0)};
    while (stream.size() < 1200) stream.insert(stream.end(), data + 5, data + size);
    std::unique_ptr<uint8_t[]> exact(new uint8_t[stream.size()]);
    std::memcpy(exact.get(), stream.data(), stream.size());
    expand_all(exact.get(), stream.size());
    return 0;
}
