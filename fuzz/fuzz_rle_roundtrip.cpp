// Arbitrary data through koMemoCompress and the callback engine: the same bytes and results,
// also into a destination too small, and koMemoExpand and koExRleExpand give the data back.
// The first byte of an input chooses how the rest becomes the data: as it is, as (value, count)
// pairs for long runs, repeated to a length the word-wise passes need, or repeated over an
// alphabet of 14 values, most of them one-nibble codes.
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
    return 5;
}

void check(bool ok) {
    if (!ok) std::abort();
}

std::vector<uint8_t> shape(const uint8_t *data, size_t size) {
    if (size == 0) return {};
    const uint8_t mode = data[0] & 3;
    std::vector<uint8_t> out;
    if (mode == 0) return std::vector<uint8_t>(data + 1, data + size);
    if (mode == 1) {
        for (size_t i = 1; i + 1 < size && out.size() < 65536; i += 2)
            out.insert(out.end(), size_t(data[i + 1]) + 1, data[i]);
        return out;
    }
    for (int copy = 0; copy < 16 && size > 1; ++copy)
        for (size_t i = 1; i < size; ++i)
            out.push_back(mode == 2 ? data[i] : uint8_t('a' + (data[i] + copy) % 14));
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *raw, size_t rawSize) {
    const std::vector<uint8_t> input = shape(raw, rawSize);
    const uint32_t n = uint32_t(input.size());
    std::unique_ptr<uint8_t[]> data(new uint8_t[n]);  // exactly as long as the input
    if (n) std::memcpy(data.get(), input.data(), n);

    Stream reference{data.get(), n, 0, {}};
    const int32_t result = koExRleCompress(stream_io, &reference);
    check((result == 5) == (n > 0));

    const uint32_t needed = koMemoCompress(data.get(), n, nullptr, 0);
    check(needed == (result ? reference.out.size() : 0));
    for (uint32_t cap : {uint32_t(reference.out.size()), uint32_t(reference.out.size() / 2)}) {
        std::unique_ptr<uint8_t[]> packed(new uint8_t[cap]);
        check(koMemoCompress(data.get(), n, packed.get(), cap) == needed);
        check(std::memcmp(packed.get(), reference.out.data(), cap) == 0);
    }
    if (!n) return 0;

    const uint32_t size = uint32_t(reference.out.size());
    std::unique_ptr<uint8_t[]> packed(new uint8_t[size]);
    std::memcpy(packed.get(), reference.out.data(), size);
    std::unique_ptr<uint8_t[]> back(new uint8_t[n]);
    check(koMemoExpand(packed.get(), size, back.get(), n) == n);
    check(std::memcmp(back.get(), data.get(), n) == 0);

    Stream expanded{packed.get(), size, 0, {}};
    check(koExRleExpand(stream_io, &expanded) == 5);
    check(expanded.out == input);
    return 0;
}
