// Base64 both ways: any bytes encode and decode back to themselves; any 16-bit text decodes
// without a write past the room given, and the count asked for first is the count written.
#include <cstdint>
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "tarngdi32.h"

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const int32_t count = int32_t(size);
    const int32_t chars = BytesToBase64_W(data, count, nullptr, 0);
    check(count < 1 ? chars == 0 : chars == (count + 2) / 3 * 4);
    if (chars > 0) {
        std::vector<TARN_WCHAR> text(size_t(chars) + 1, 0);
        check(BytesToBase64_W(data, count, text.data(), chars) == chars);
        std::vector<uint8_t> back(size);
        check(Base64ToBytes_W(text.data(), back.data(), uint32_t(size)) == count);
        check(std::equal(back.begin(), back.end(), data));
    }
    // The same bytes as a text to decode: room for all of it, and room for less.
    std::vector<TARN_WCHAR> text(size / 2 + 1, 0);
    for (size_t i = 0; i + 1 < size; i += 2) text[i / 2] = TARN_WCHAR(data[i] | (data[i + 1] << 8));
    const int32_t needed = Base64ToBytes_W(text.data(), nullptr, 0);
    check(needed >= 0);
    std::vector<uint8_t> out(static_cast<size_t>(needed));
    check(Base64ToBytes_W(text.data(), out.data(), uint32_t(needed)) == needed);
    if (needed > 0) {
        // Never a null buffer: NULL asks for the count instead.
        std::vector<uint8_t> small(static_cast<size_t>(needed));
        check(Base64ToBytes_W(text.data(), small.data(), uint32_t(needed - 1)) == -1);
    }
    return 0;
}
